// SPDX-License-Identifier: Apache-2.0
#include "velaPaint.h"

#include "velaLayerFrame.h"
#include "velaMaterialShader.h"

#include "orcaColor.h"

#include <algorithm>
#include <cmath>

namespace vela {

namespace {

/// Flakes as single mirrors where they are large in the picture, else as one rough metal.
void addFlakes(Closure& closure, miState* state, const Paint& paint, const miColor& weight, miScalar pixel) {
    const Flake flake = flakeAt(state, paint.field, closure.frame, closure.view, pixel);
    const Reflectance metal{withAlpha(paint.flakeColor, 0.0f), withAlpha(WHITE, 0.0f)};
    const miScalar together = 1.0f - flake.distinct;
    if (together > 0.0f)
        closure.add(closure.frame, FacetLobe(closure.view, Roughness(paint.field.spread, 0.0f), metal),
                    weight * (together * paint.field.density), false, true);
    if (!flake.present || !(flake.distinct > 0.0f)) return;
    const LayerFrame frame = layerFrame(state, flake.normal, 0.0f);
    closure.add(frame, FacetLobe(viewFrom(state, frame), Roughness(paint.flakeRoughness, 0.0f), metal),
                weight * flake.distinct, false, true);
}

/// Share of the light that meets flakes at the point: what the pigment below them does not receive.
miScalar coveredByFlakes(miState* state, const Closure& closure, const Paint& paint, miScalar pixel) {
    const Flake flake = flakeAt(state, paint.field, closure.frame, closure.view, pixel);
    const miScalar single = flake.present ? 1.0f : 0.0f;
    return paint.flakes * (flake.distinct * single + (1.0f - flake.distinct) * paint.field.density);
}

} // namespace

void addPaint(Closure& closure, miState* state, const Paint& paint, const LayerFrame& coatFrame,
              miScalar pixel) {
    const miScalar dirt = std::clamp(paint.dirt, 0.0f, 1.0f);
    miColor left = withAlpha(WHITE * (1.0f - dirt), 0.0f);
    if (paint.coat > 0.0f) {
        const miColor atNormal = withAlpha(WHITE * normalReflectance(std::max(1.0f, paint.coatIndex)), 0.0f);
        const FacetLobe lobe(viewFrom(state, coatFrame), Roughness(paint.coatRoughness, 0.0f),
                             {atNormal, withAlpha(WHITE, 0.0f)});
        closure.add(coatFrame, lobe, left * paint.coat, true, true);
        const miColor tint = WHITE + (paint.coatColor - WHITE) * paint.coat;
        left = withAlpha(left * rest(lobe.albedo() * paint.coat) * tint, 0.0f);
    }
    if (paint.flakes > 0.0f) addFlakes(closure, state, paint, left * paint.flakes, pixel);
    left *= 1.0f - coveredByFlakes(state, closure, paint, pixel);

    const miScalar edge = std::pow(1.0f - closure.view.z, std::max(0.01f, paint.edgeExponent));
    const miColor pigment = paint.color + (paint.edgeColor - paint.color) * edge;
    closure.diffuseColor = withAlpha(pigment * left + paint.dirtColor * dirt, 0.0f);
    closure.diffuseLevel = withAlpha(WHITE, 0.0f);
}

} // namespace vela

// SPDX-License-Identifier: Apache-2.0
#include "velaFlakes.h"

#include "velaRandom.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

namespace {

/// A normal of the facets' distribution over all views, as flakes lie in the lacquer before any is hidden.
miVector flakeNormal(const Microfacets& facets, float u1, float u2) {
    const float slope = std::sqrt(u1 / std::max(1.0f - u1, 1e-6f));
    const float angle = 2.0f * std::numbers::pi_v<float> * u2;
    return normalized(
        {facets.alphaX * slope * std::cos(angle), facets.alphaY * slope * std::sin(angle), 1.0f});
}

} // namespace

Flake flakeAt(miState* state, const FlakeField& field, const LayerFrame& frame, const miVector& view,
              miScalar pixel) {
    miVector place;
    mi_point_to_object(state, &place, &state->point);
    const float scale = 1.0f / std::max(field.size, 1e-6f);
    const float x = std::floor(place.x * scale), y = std::floor(place.y * scale),
                z = std::floor(place.z * scale);
    RandomSequence ofColumn(x, y);
    RandomSequence random(ofColumn.next(), z);

    // A pixel that covers more than a flake or two sees their mean.
    const float covered = pixel * scale;
    const float t = std::clamp((covered - 0.5f) / 1.5f, 0.0f, 1.0f);
    Flake flake{random.next() < field.density, frame.z, 1.0f - t * t * (3.0f - 2.0f * t)};
    const miVector local = flakeNormal(Roughness(field.spread, 0.0f).facets, random.next(), random.next());
    if (dot(local, view) > 0.0f) flake.normal = frame.fromLocal(local);
    else flake.present = false;
    return flake;
}

} // namespace vela

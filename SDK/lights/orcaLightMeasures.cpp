// SPDX-License-Identifier: Apache-2.0
#include "orcaLightMeasures.h"

#include "orcaAreaLight.h"
#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaLightLoop.h"
#include "orcaVector.h"

#include <algorithm>

namespace {

/// Adds a light as one side of the surface sees it. `angle` sums cosines times luminances.
void addLight(LightMeasures& sums, miState* state, VelabaseState& vela, miTag light, miBoolean backSide,
              bool skipShadows) {
    LightMeasures ofLight;
    miColor color;
    miVector direction;
    miScalar nDotL;
    miInteger counter = 0;
    int samples = 0;
    for (;; ++samples) {
        resetLightSample(vela);
        vela.lightData.backSide = backSide;
        vela.lightData.skipShadows = skipShadows;
        if (!mi_sample_light(&color, &direction, &nDotL, state, light, &counter)) break;
        const LightData& data = vela.lightData;
        const miScalar full = luminance(data.unshadowedColor);
        if (vela.areaLight) nDotL = arealight_lambertian_reflect(state, &direction, vela.areaLight);
        const miScalar cosine = std::clamp(nDotL, 0.0f, 1.0f);
        // Ambient light comes from everywhere.
        const miScalar share = data.isAmbient ? 1.0f : data.emitDiffuse ? cosine : 0.0f;
        ofLight.brightness += share * luminance(color);
        ofLight.unshadowedBrightness += share * full;
        if (!backSide) ofLight.most += full; // it faces a light with one side at most
        ofLight.angle += (data.isAmbient ? 1.0f : cosine) * full;
    }
    if (samples == 0) return;
    const miScalar weight = 1.0f / static_cast<miScalar>(samples);
    sums.brightness += weight * ofLight.brightness;
    sums.unshadowedBrightness += weight * ofLight.unshadowedBrightness;
    sums.most += weight * ofLight.most;
    sums.angle += weight * ofLight.angle;
}

} // namespace

LightMeasures lightMeasures(miState* state, VelabaseState& vela, bool skipShadows) {
    LightMeasures sums;
    int count = 0;
    miTag* lights = nullptr;
    wantAllLights(state);
    if (!mi_instance_lightlist(&count, &lights, state)) return sums;
    for (int i = 0; i < count; ++i) {
        addLight(sums, state, vela, lights[i], miFALSE, skipShadows);
        if (!state->inv_normal) continue;
        const Restored<miVector> normal(state->normal), geometric(state->normal_geom);
        state->normal = -state->normal;
        state->normal_geom = -state->normal_geom;
        addLight(sums, state, vela, lights[i], miTRUE, skipShadows);
    }
    if (sums.most > 0.0f) sums.angle = std::min(1.0f, sums.angle / sums.most);
    resetLightSample(vela);
    return sums;
}

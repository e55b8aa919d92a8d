// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaDirectionalLight.h"

#include "orcaDiscShadow.h"
#include "orcaUtilities.h"
#include "orcaVelaLight.h"

#include <cmath>
#include <numbers>

namespace {

using P = DirectionalLightParameters;

constexpr float pi = std::numbers::pi_v<float>;

bool behindLight(miState* state) {
    const miVector origin{0.0f, 0.0f, 0.0f};
    miVector position = origin;
    mi_point_from_light(state, &position, &position);
    return dot(state->dir, position - state->point) > 0.0f;
}

/// Soft shadow of a light at infinity: a unit disc at the distance at which it fills the light's angle.
bool distantDiscShadow(miColor* transmission, const miColor& lightValue, const miColor& shadowColor,
                       float angleDegrees, unsigned rays, miState* state, const PassRecords& passes) {
    const Restored<miVector> direction(state->dir);
    const Restored<miScalar> cosine(state->dot_nd);
    const miVector toLight = -state->dir;
    const float distance = 1.0f / std::tan(angleDegrees * pi / 180.0f);
    const auto disc = SamplingDisc::perpendicularTo(toLight, state->point + toLight * distance, 1.0f);
    const auto fromDisc = [state](const miVector& pointOnDisc) {
        state->dir = normalized(state->point - pointOnDisc);
        state->dot_nd = -dot(state->dir, state->normal);
    };
    return adaptiveDiscShadow(transmission, disc, lightValue, shadowColor, rays, state, passes.count,
                              passes.records, fromDisc);
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaDirectionalLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaDirectionalLight(miColor* result, miState* state,
                                               DirectionalLightParameters* record) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning("vela_directionallight(): Internal state error.");
        return miFALSE;
    }
    const PassRecords passes(state, *vela);
    setupLightContributions(passes.count, passes.records, state);
    if (parameterValue(state, record, &P::useLightPosition) && behindLight(state)) return miFALSE;

    miVector pointInLight;
    mi_point_to_light(state, &pointInLight, &state->point);
    const LightTextureSpace textureSpace(state, *vela, pointInLight);

    const float intensity = parameterValue(state, record, &P::intensity);
    const miColor color = parameterValue(state, record, &P::color);
    *result = withAlpha(color * intensity, color.a);
    vela->lightData.shadowFraction = 0.0f;
    vela->lightData.unshadowedColor = *result;
    const miColor unshadowed = *result;
    shadeLight(*result, state, record, *vela, passes, intensity, &P::lightAngle,
               [&](miColor* transmission, const miColor& shadowColor, float angle, unsigned rays) {
                   return distantDiscShadow(transmission, unshadowed, shadowColor, angle, rays, state,
                                            passes);
               });
    describeLight(state, record, vela->lightData);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaDirectionalLight.h"

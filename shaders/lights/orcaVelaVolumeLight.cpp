// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaVolumeLight.h"

#include "orcaLightCurve.h"
#include "orcaLightStrength.h"
#include "orcaVector.h"
#include "orcaVelaLight.h"
#include "orcaVolumeShape.h"

#include <numbers>

namespace {

using P = VolumeLightParameters;

constexpr const char* name = "vela_volumelight";

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaVolumeLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaVolumeLight(miColor* result, miState* state, VolumeLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        constexpr float allAround = 4.0f * std::numbers::pi_v<float>, noArea = 0.0f;
        const auto lamp = lampStrength(state, record, name, allAround, noArea);
        if (!lamp) return miFALSE;
        miVector pointInLight;
        const miVector origin = originInLight(state);
        mi_point_to_light(state, &pointInLight, &state->point);
        pointInLight = pointInLight - origin;
        const VolumeShape shape{parameterValue(state, record, &P::shape),
                                parameterValue(state, record, &P::coneEndRadius),
                                parameterValue(state, record, &P::arc)};
        const auto path = shape.at(pointInLight, parameterValue(state, record, &P::volumeDirection));
        const bool lights = state->type == miRAY_LIGHT;
        if (lights) {
            if (!path) return miFALSE;
            miVector from = path->from + origin;
            mi_point_from_light(state, &from, &from);
            shineFrom(state, from);
        }

        const LightTextureSpace textureSpace(state, vela, sphericalCoordinate(pointInLight));
        const miScalar intensity =
            lamp->at(static_cast<float>(state->dist), parameterValue(state, record, &P::decayRate));
        const miColor color = lampColor(state, record) *
                              colorOnCurve(state, &record->i_colorCurve, path ? path->position : 1.0f);
        *result = withAlpha(color * intensity, color.a);
        if (!lights) return showLamp(*result, vela);
        const miBoolean lit = deliverFromDisc(*result, state, record, vela, passes, intensity);
        if (parameterValue(state, record, &P::emitAmbient)) vela.lightData.isAmbient = 1;
        return lit;
    });
}

} // extern "C"

#include "declared/orcaVelaVolumeLight.h"

// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaAmbientLight.h"

#include "orcaLightStrength.h"
#include "orcaVelaLight.h"

#include <algorithm>

namespace {

using P = AmbientLightParameters;

constexpr const char* name = "vela_ambientlight";

/// Share of the light for a surface turned from the light's place.
float shareByAngle(miState* state, P* record, const LightData& data) {
    const float shade = std::clamp(parameterValue(state, record, &P::ambientShade), 0.0f, 1.0f);
    const float cosine = data.backSide ? -state->dot_nd : state->dot_nd;
    return 1.0f - shade + shade * std::max(0.0f, cosine);
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaAmbientLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaAmbientLight(miColor* result, miState* state, AmbientLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        auto intensity = distantStrength(state, record, name);
        if (!intensity) return miFALSE;
        const bool lights = state->type == miRAY_LIGHT;
        if (lights) *intensity *= shareByAngle(state, record, vela.lightData);

        miVector pointInLight;
        mi_point_to_light(state, &pointInLight, &state->point);
        const LightTextureSpace textureSpace(state, vela, sphericalCoordinate(pointInLight));
        const miColor color = lampColor(state, record);
        *result = withAlpha(color * *intensity, color.a);
        if (!lights) return showLamp(*result, vela);
        const miBoolean lit = deliverFromDisc(*result, state, record, vela, passes, *intensity);
        vela.lightData.isAmbient = 1;
        vela.lightData.emitDiffuse = miFALSE;
        vela.lightData.emitSpecular = miFALSE;
        return lit;
    });
}

} // extern "C"

#include "declared/orcaVelaAmbientLight.h"

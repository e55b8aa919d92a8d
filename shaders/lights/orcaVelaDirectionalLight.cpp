// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaDirectionalLight.h"

#include "orcaVelaLight.h"

namespace {

using P = DirectionalLightParameters;

constexpr const char* name = "vela_directionallight";

bool behindLight(miState* state) {
    const miVector origin{0.0f, 0.0f, 0.0f};
    miVector position = origin;
    mi_point_from_light(state, &position, &position);
    return dot(state->dir, position - state->point) > 0.0f;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaDirectionalLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaDirectionalLight(miColor* result, miState* state,
                                               DirectionalLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        if (parameterValue(state, record, &P::useLightPosition) && behindLight(state)) return miFALSE;
        miVector pointInLight;
        mi_point_to_light(state, &pointInLight, &state->point);
        const LightTextureSpace textureSpace(state, vela, pointInLight);
        return deliverFromAfar(*result, state, record, vela, passes, name);
    });
}

} // extern "C"

#include "declared/orcaVelaDirectionalLight.h"

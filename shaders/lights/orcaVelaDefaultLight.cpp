// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaDefaultLight.h"

#include "orcaVector.h"
#include "orcaVelaLight.h"

namespace {

constexpr const char* name = "vela_defaultlight";

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaDefaultLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaDefaultLight(miColor* result, miState* state, DefaultLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        miVector view{0.0f, 0.0f, -1.0f};
        mi_vector_from_camera(state, &view, &view);
        shineAlong(state, normalized(view));

        miVector pointInCamera;
        mi_point_to_camera(state, &pointInCamera, &state->point);
        const LightTextureSpace textureSpace(state, vela, pointInCamera);
        return deliverFromAfar(*result, state, record, vela, passes, name);
    });
}

} // extern "C"

#include "declared/orcaVelaDefaultLight.h"

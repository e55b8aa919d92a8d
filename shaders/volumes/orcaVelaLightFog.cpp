// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaLightFog.h"

#include "orcaLightReach.h"
#include "orcaParameters.h"
#include "orcaUtilities.h"
#include "orcaVolumeSet.h"

#include <algorithm>
#include <atomic>
#include <string>

namespace {

using P = LightFogParameters;

constexpr const char* name = "vela_lightfog";

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaLightFog_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaLightFog(miColor*, miState* state, LightFogParameters* record, void* argument) {
    static std::atomic<bool> reported;
    const VolumeRequest* const request = volumeRequest(argument, name);
    if (!request) return miFALSE;
    const miTag light = parameterValue(state, record, &P::light);
    const LightReach reach(state, light);
    if (!reach.hasPlace) {
        if (!reported.exchange(true, std::memory_order_relaxed))
            orcaWarning(std::string(name) +
                        "(): \"light\" has to be a point or spot light; there is no fog.");
        return miFALSE;
    }
    LightFog fog{light,
                 {0.0f, request->ray->length},
                 std::clamp<miInteger>(parameterValue(state, record, &P::samples), 1, 1024),
                 !reach.isSpot};
    if (reach.cutToRadius(*request->ray, parameterValue(state, record, &P::radius), fog.span) &&
        reach.cut(*request->ray, fog.span))
        request->set->add(fog);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaLightFog.h"

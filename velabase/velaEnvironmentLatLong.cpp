// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "orcaVelaState.h"
#include "velaLatLong.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

/// Parameters of velaEnvironmentLatLong, in declaration order.
struct VelaEnvironmentLatLongParameters {
    miTag texture;  // image of all directions; none: the gradient of the three colours below
    miColor zenith; // straight up
    miColor horizon;
    miColor ground;        // straight down
    miColor gain;          // multiplies both
    miScalar rotation;     // degrees about the up axis; positive turns the surroundings to the left
    miScalar blur;         // radians; least angle over which every look-up is filtered
    miScalar gatherBlur;   // radians; the same for rays that gather indirect light
    miBoolean feedsGather; // off: such rays see black, where a dome light lights directly
};

namespace {

using P = VelaEnvironmentLatLongParameters;

constexpr float pi = std::numbers::pi_v<float>;

/// Angle that the ray covers, radians.
float coneAngle(miState* state, P* record) {
    const float least = std::max(
        0.0f, parameterValue(state, record, state->type == miRAY_FINALGATHER ? &P::gatherBlur : &P::blur));
    const VelabaseState* const vela = velabaseState(state);
    return std::max(least, vela && vela->filterEnabled ? vela->filterBase : 0.0f);
}

/// True where the ray, through whatever is transparent, gathers the light of a surface.
bool isGathered(const miState* state) {
    for (; state; state = state->parent) {
        if (state->type == miRAY_FINALGATHER) return true;
        if (state->type != miRAY_TRANSPARENT && state->type != miRAY_ENVIRONMENT) return false;
    }
    return false;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaEnvironmentLatLong_version(void) {
    return 1;
}

/// Surroundings at infinity. An image that cannot be read shows as magenta.
ORCA_EXPORT miBoolean velaEnvironmentLatLong(miColor* result, miState* state,
                                             VelaEnvironmentLatLongParameters* record) {
    if (!parameterValue(state, record, &P::feedsGather) && isGathered(state)) {
        *result = BLACK;
        result->a = 1.0f;
        return miTRUE;
    }
    miVector direction = state->dir;
    mi_vector_to_world(state, &direction, &direction);
    direction = normalized(direction);
    miColor color;
    if (const miTag texture = parameterValue(state, record, &P::texture); texture == miNULLTAG) {
        color = latLongGradient(state, record, direction.y);
    } else {
        const miVector place = latLongLocation(direction, parameterValue(state, record, &P::rotation));
        const float angle = coneAngle(state, record);
        // Circles of latitude shrink towards the poles, and with them what a look-up covers grows.
        const float latitude = std::sqrt(std::max(0.0f, 1.0f - direction.y * direction.y));
        color =
            latLongMean(state, texture, place, angle / (2.0f * pi * std::max(latitude, 1e-4f)), angle / pi);
    }
    *result = withAlpha(color * parameterValue(state, record, &P::gain), 1.0f);
    return miTRUE;
}

} // extern "C"

#include "declared/velaEnvironmentLatLong.h"

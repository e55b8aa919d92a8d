// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

/// Parameters of velaEnvironmentLatLong, in declaration order.
struct VelaEnvironmentLatLongParameters {
    miTag texture;  // image of all directions; none: the gradient of the three colours below
    miColor zenith; // straight up
    miColor horizon;
    miColor ground;      // straight down
    miColor gain;        // multiplies both
    miScalar rotation;   // degrees about the up axis; positive turns the surroundings to the left
    miScalar blur;       // radians; least angle over which every look-up is filtered
    miScalar gatherBlur; // radians; the same for rays that gather indirect light
};

namespace {

using P = VelaEnvironmentLatLongParameters;

constexpr float pi = std::numbers::pi_v<float>;

/// Position of a direction in the image: the middle looks along -z, the right and the left edge along +z, u
/// grows to the right, and v = 1 is straight up (+y).
miVector locationOf(const miVector& direction, float rotationDegrees) {
    const float u = 0.5f + std::atan2(direction.x, -direction.z) / (2.0f * pi) + rotationDegrees / 360.0f;
    const float v = 0.5f + std::asin(std::clamp(direction.y, -1.0f, 1.0f)) / pi;
    return {u - std::floor(u), v, 0.0f};
}

/// Angle that the ray covers, radians.
float coneAngle(miState* state, P* record) {
    const float least = std::max(
        0.0f, parameterValue(state, record, state->type == miRAY_FINALGATHER ? &P::gatherBlur : &P::blur));
    const VelabaseState* const vela = velabaseState(state);
    return std::max(least, vela && vela->filterEnabled ? vela->filterBase : 0.0f);
}

miColor gradient(miState* state, P* record, float height) {
    const miColor horizon = parameterValue(state, record, &P::horizon);
    const miColor end = parameterValue(state, record, height > 0.0f ? &P::zenith : &P::ground);
    const float share = std::abs(height);
    return horizon * (1.0f - share) + end * share;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaEnvironmentLatLong_version(void) {
    return 1;
}

/// Surroundings at infinity. An image that cannot be read shows as magenta.
ORCA_EXPORT miBoolean velaEnvironmentLatLong(miColor* result, miState* state,
                                             VelaEnvironmentLatLongParameters* record) {
    miVector direction = state->dir;
    mi_vector_to_world(state, &direction, &direction);
    direction = normalized(direction);
    miColor color{1.0f, 0.0f, 1.0f, 1.0f};
    if (const miTag texture = parameterValue(state, record, &P::texture); texture == miNULLTAG) {
        color = gradient(state, record, direction.y);
    } else {
        const miVector place = locationOf(direction, parameterValue(state, record, &P::rotation));
        const float angle = coneAngle(state, record);
        // Circles of latitude shrink towards the poles, and with them what a look-up covers grows.
        const float latitude = std::sqrt(std::max(0.0f, 1.0f - direction.y * direction.y));
        miTexfilter filter{};
        filter.bilinear = 1.0f;
        filter.wrap_u = miTEXWRAP_REPEAT;
        filter.wrap_v = miTEXWRAP_CLAMP;
        miMatrix footprint{};
        footprint[0] = std::min(1.0f, angle / (2.0f * pi * std::max(latitude, 1e-4f)));
        footprint[5] = std::min(1.0f, angle / pi);
        footprint[12] = place.x;
        footprint[13] = place.y;
        mi_lookup_filter_color_texture(&color, state, texture, &filter, footprint);
    }
    *result = withAlpha(color * parameterValue(state, record, &P::gain), 1.0f);
    return miTRUE;
}

} // extern "C"

#include "declared/velaEnvironmentLatLong.h"

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Images of all directions, as nodes of surroundings use them, and the gradient in place of one.

#include "orcaColor.h"
#include "orcaParameters.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <numbers>

/// Position of a direction of unit length in the image: the middle looks along -z, the right and the left
/// edge along +z, u grows to the right, and v = 1 is straight up (+y).
/// @param rotation degrees about the up axis; positive turns the surroundings to the left
[[nodiscard]] inline miVector latLongLocation(const miVector& direction, float rotation) {
    constexpr float pi = std::numbers::pi_v<float>;
    const float u = 0.5f + std::atan2(direction.x, -direction.z) / (2.0f * pi) + rotation / 360.0f;
    const float v = 0.5f + std::asin(std::clamp(direction.y, -1.0f, 1.0f)) / pi;
    return {u - std::floor(u), v, 0.0f};
}

/// The direction that the image has at `u`, at the height `sine` (that of the elevation).
[[nodiscard]] inline miVector latLongDirection(float u, float sine, float rotation) {
    const float angle = 2.0f * std::numbers::pi_v<float> * (u - 0.5f - rotation / 360.0f);
    const float level = std::sqrt(std::max(0.0f, 1.0f - sine * sine));
    return {level * std::sin(angle), sine, -level * std::cos(angle)};
}

/// The image's mean over a box.
/// @param width, height of the box, as shares of the image
[[nodiscard]] inline miColor latLongMean(miState* state, miTag texture, const miVector& location, float width,
                                         float height) {
    miTexfilter filter{};
    filter.bilinear = 1.0f;
    filter.wrap_u = miTEXWRAP_REPEAT;
    filter.wrap_v = miTEXWRAP_CLAMP;
    miMatrix footprint{};
    footprint[0] = std::min(1.0f, width);
    footprint[5] = std::min(1.0f, height);
    footprint[12] = location.x;
    footprint[13] = location.y;
    miColor color{1.0f, 0.0f, 1.0f, 1.0f}; // of an image that cannot be read
    mi_lookup_filter_color_texture(&color, state, texture, &filter, footprint);
    return color;
}

/// Colour at a height, the sine of the elevation, by the parameters zenith, horizon and ground.
template <class P>
[[nodiscard]] miColor latLongGradient(miState* state, P* record, float height) {
    const miColor horizon = parameterValue(state, record, &P::horizon);
    const miColor end = parameterValue(state, record, height > 0.0f ? &P::zenith : &P::ground);
    const float share = std::abs(height);
    return horizon * (1.0f - share) + end * share;
}

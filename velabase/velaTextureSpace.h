// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What texture nodes share: where to look up a texture, and over how large a footprint.

#include "orcaParameters.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// A place in texture space. Nodes pass it on as a vector whose z is above 0 where the place lies outside the
/// frame of a placement: texture nodes return their default colour there.
struct TexturePlace {
    miVector uv;
    [[nodiscard]] bool outside() const { return uv.z > 0.0f; }
};

/// Footprint of a pixel in texture space: change of the coordinates per pixel in x and in y. z is 0.
struct TextureFootprint {
    miVector x{0.0f, 0.0f, 0.0f}, y{0.0f, 0.0f, 0.0f};

    /// Width of the box around the footprint.
    [[nodiscard]] miVector box() const;
};

/// Larger of the two texture coordinates' changes.
[[nodiscard]] inline float largest(const miVector& step) {
    return std::max(std::abs(step.x), std::abs(step.y));
}

/// Footprint of the hit in the first texture space; empty where the surface has no texture derivatives, while
/// filtering is off and away from surfaces. At grazing angles it is longer than wide.
[[nodiscard]] TextureFootprint surfaceFootprint(miState* state);

/// Moves the hit along its surface while the object exists, so that connected nodes can be evaluated next to
/// it: the first texture coordinate by (du, dv), and the point by the same step along the derivatives.
class ShiftedHit {
public:
    ShiftedHit(miState* state, const miVector& uvStep);
    ~ShiftedHit();
    ShiftedHit(const ShiftedHit&) = delete;
    ShiftedHit& operator=(const ShiftedHit&) = delete;

private:
    miState* state_;
    miVector point_, coordinate_;
};

/// The place that a node's coordinate parameter names: what it is connected to, else the surface's first
/// texture space.
template <class P>
[[nodiscard]] TexturePlace texturePlace(miState* state, P* record, miVector P::*coordinate) {
    if (isConnected(state, record, coordinate)) return {parameterValue(state, record, coordinate)};
    if (!state->tex_list) return {{0.0f, 0.0f, 0.0f}};
    return {{state->tex_list[0].x, state->tex_list[0].y, 0.0f}};
}

/// The footprint around that place. A connected coordinate is evaluated at both ends of the surface's own
/// footprint, which accounts for everything that moves, rotates and scales it.
template <class P>
[[nodiscard]] TextureFootprint textureFootprint(miState* state, P* record, miVector P::*coordinate,
                                                const TexturePlace& place) {
    const TextureFootprint surface = surfaceFootprint(state);
    if (!isConnected(state, record, coordinate)) return surface;
    const auto moved = [&](const miVector& step) {
        const ShiftedHit shifted(state, step);
        const miVector there = parameterValue(state, record, coordinate);
        return miVector{there.x - place.uv.x, there.y - place.uv.y, 0.0f};
    };
    // A large step may be a jump between copies of the texture and not the footprint: the step to the other
    // side has no such jump.
    const auto stepOf = [&](const miVector& step) {
        if (step.x == 0.0f && step.y == 0.0f) return step;
        constexpr float suspicious = 0.25f;
        const miVector ahead = moved(step);
        if (largest(ahead) < suspicious) return ahead;
        const miVector behind = moved({-step.x, -step.y, 0.0f});
        return largest(behind) < largest(ahead) ? miVector{-behind.x, -behind.y, 0.0f} : ahead;
    };
    return {stepOf(surface.x), stepOf(surface.y)};
}

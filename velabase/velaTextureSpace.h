// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What texture nodes share: where to look and over how large a patch.

#include "orcaParameters.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// A place in texture space. Nodes hand it on as a vector whose z is above 0 where the place lies outside the
/// frame of a placement: texture nodes show their default colour there.
struct TexturePlace {
    miVector uv;
    [[nodiscard]] bool outside() const { return uv.z > 0.0f; }
};

/// Steps in texture space that span the patch of a pixel: its change per pixel in x and in y. z is 0.
struct TextureFootprint {
    miVector x{0.0f, 0.0f, 0.0f}, y{0.0f, 0.0f, 0.0f};

    /// Width of the box round the patch.
    [[nodiscard]] miVector box() const;
};

/// Larger of the two texture coordinates' changes.
[[nodiscard]] inline float largest(const miVector& step) {
    return std::max(std::abs(step.x), std::abs(step.y));
}

/// Patch of the hit in the first texture space; empty where the surface has no texture derivatives, while
/// filtering is off and away from surfaces. Grazing patches are longer than wide.
[[nodiscard]] TextureFootprint surfaceFootprint(miState* state);

/// Moves the hit along its surface for as long as it lives, so that a connected node can be asked for its
/// value beside it: the first texture coordinate by (du, dv) and the point by what the derivatives make of
/// that.
class BesideHit {
public:
    BesideHit(miState* state, const miVector& uvStep);
    ~BesideHit();
    BesideHit(const BesideHit&) = delete;
    BesideHit& operator=(const BesideHit&) = delete;

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

/// The patch about that place. A connected coordinate is asked for at both ends of the surface's own patch,
/// so that whatever moves, turns and scales it is accounted for.
template <class P>
[[nodiscard]] TextureFootprint textureFootprint(miState* state, P* record, miVector P::*coordinate,
                                                const TexturePlace& place) {
    const TextureFootprint surface = surfaceFootprint(state);
    if (!isConnected(state, record, coordinate)) return surface;
    const auto moved = [&](const miVector& step) {
        const BesideHit beside(state, step);
        const miVector there = parameterValue(state, record, coordinate);
        return miVector{there.x - place.uv.x, there.y - place.uv.y, 0.0f};
    };
    // A large step may be a jump between copies of the texture, which is no patch: on its other side there is
    // none.
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

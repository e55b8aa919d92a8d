// SPDX-License-Identifier: Apache-2.0
#include "orcaDiscShadow.h"

#include "orcaGuards.h"

#include <algorithm>
#include <cmath>

SamplingDisc SamplingDisc::perpendicularTo(const miVector& normal, const miVector& center, miScalar radius) {
    const float offset = dot(normal, center);
    miVector onAxis{0.0f, 0.0f, 0.0f};
    if (normal.x != 0.0f) onAxis.x = offset / normal.x;
    else if (normal.y != 0.0f) onAxis.y = offset / normal.y;
    else onAxis.z = offset / normal.z;

    SamplingDisc disc{center, {}, {}, radius};
    const miVector across = onAxis - center;
    const float squared = dot(across, across);
    const float lean = dot(normal, across);
    // Where the centre is on that axis, `across` is only rounding; where the axis is nearly parallel to the
    // plane, it is unbounded. Any other pair of axes spans the same disc.
    constexpr float largestLean = 1e-4f; // squared cosine
    if (squared > 0.0f && std::isfinite(squared) && lean * lean <= largestLean * squared) {
        disc.axis1 = normalized(across);
        disc.axis2 = normalized(cross(normal, across));
    } else {
        orthonormalBasis(normal, disc.axis1, disc.axis2);
    }
    return disc;
}

bool distantDiscShadow(miColor* transmission, const miColor& lightValue, const miColor& shadowColor,
                       float angleDegrees, unsigned rays, miState* state, unsigned count,
                       FrameBufferInfo* records) {
    constexpr float pi = std::numbers::pi_v<float>;
    const Restored<miVector> direction(state->dir);
    const Restored<miScalar> cosine(state->dot_nd);
    const miVector toLight = -state->dir;
    const float distance = 1.0f / std::tan(angleDegrees * pi / 180.0f);
    const auto disc = SamplingDisc::perpendicularTo(toLight, state->point + toLight * distance, 1.0f);
    const auto fromDisc = [state](const miVector& pointOnDisc) {
        state->dir = normalized(state->point - pointOnDisc);
        state->dot_nd = -dot(state->dir, state->normal);
    };
    return adaptiveDiscShadow(transmission, disc, lightValue, shadowColor, rays, state, count, records,
                              fromDisc);
}

bool sample_disc_shadow(miColor* transmission, const miColor* lightValue, const miColor* shadowColor,
                        float radius, unsigned rays, miState* state, unsigned count,
                        FrameBufferInfo* records) {
    constexpr float leastRadius = 0.0001f;
    const Restored<miVector> origin(state->org);
    const Restored<miVector> direction(state->dir);
    const Restored<miScalar> cosine(state->dot_nd);
    const auto disc = SamplingDisc::perpendicularTo(state->dir, state->org, std::max(radius, leastRadius));
    const auto fromDisc = [state](const miVector& pointOnDisc) {
        state->org = pointOnDisc;
        state->dir = normalized(state->point - pointOnDisc);
        state->dot_nd = -dot(state->dir, state->normal);
    };
    return adaptiveDiscShadow(transmission, disc, *lightValue, *shadowColor, rays, state, count, records,
                              fromDisc);
}

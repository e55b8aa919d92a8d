// SPDX-License-Identifier: Apache-2.0
#include "orcaFibre.h"

#include <numbers>

FibreFrame fibreFrame(const miState* state) {
    FibreFrame frame;
    frame.along = normalized(state->derivs[0]);
    frame.across = cross(frame.along, state->dir);
    if (dot(frame.across, frame.across) < 1e-12f) { // along the ray, or without a direction
        orthonormalBasis(state->dir, frame.across, frame.toward);
        if (isNull(frame.along)) frame.along = frame.toward;
    }
    frame.across = normalized(frame.across);
    frame.toward = cross(frame.across, frame.along);
    if (dot(frame.toward, state->dir) > 0.0f) frame.toward = -frame.toward;
    frame.offset = std::clamp(2.0f * state->bary[0] - 1.0f, -1.0f, 1.0f);
    frame.position = std::clamp(state->bary[1], 0.0f, 1.0f);
    return frame;
}

miVector fibreMirror(const miVector& along, const miVector& ray, const miVector& toLight, miScalar shift) {
    constexpr miScalar quarterTurn = 0.5f * std::numbers::pi_v<miScalar>;
    const miScalar angle =
        std::clamp(std::asin(std::clamp(dot(along, ray), -1.0f, 1.0f)) + shift, -quarterTurn, quarterTurn);
    miVector across = toLight - along * dot(along, toLight);
    if (dot(across, across) < 1e-12f) across = -ray + along * dot(along, ray);
    return along * std::sin(angle) + normalized(across) * std::cos(angle);
}

miScalar hashedNumber(miUint number, miUint seed) noexcept {
    // Finaliser of MurmurHash3 (Appleby, 2011) over both.
    miUint h = number * 0x9e3779b1u ^ (seed + 0x7f4a7c15u) * 0x85ebca6bu;
    h = (h ^ (h >> 16)) * 0x85ebca6bu;
    h = (h ^ (h >> 13)) * 0xc2b2ae35u;
    h ^= h >> 16;
    return static_cast<miScalar>(h >> 8) * 0x1p-24f;
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Fibres (hairs, threads) as shaders see them: directions about their tangent, and the classic model of
/// their light. Angles against the plane across a fibre are positive toward its tip.

#include "orcaVector.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// A fibre at a hit. Its axes are unit length and perpendicular to each other.
struct FibreFrame {
    miVector along;    ///< from the root to the tip
    miVector across;   ///< perpendicular to the ray
    miVector toward;   ///< the side that the ray comes from
    miScalar offset;   ///< where the ray meets the fibre across it, -1 to 1 along `across`
    miScalar position; ///< along the fibre, 0 at its root to 1 at its tip
};

/// Of a hit on a hair.
[[nodiscard]] FibreFrame fibreFrame(const miState* state);

/// Cosine between a direction and the plane across the fibre: the share of light from there that a fibre
/// receives, relative to light from the side.
[[nodiscard]] inline miScalar fibreCosine(const miVector& along, const miVector& direction) noexcept {
    const miScalar sine = dot(along, direction);
    return std::sqrt(std::max(0.0f, 1.0f - sine * sine));
}

/// Of the directions in which a fibre mirrors a ray, which form a cone about it, the one nearest to a light.
/// Its cosine with the light's direction is that of the highlight of Kajiya and Kay, "Rendering Fur with
/// Three Dimensional Textures", 1989. Unit length.
/// @param ray   direction of the ray, toward the fibre
/// @param shift radians that the cone is tilted toward the tip (Marschner et al., "Light Scattering from
/// Human Hair
///              Fibers", 2003, after whom scales tilt the first highlight toward the root)
[[nodiscard]] miVector fibreMirror(const miVector& along, const miVector& ray, const miVector& toLight,
                                   miScalar shift);

/// 0 for light from the viewer's side of a fibre to 1 for light from straight behind it, by its azimuth alone
/// (Goldman, "Fake Fur Rendering", 1997).
[[nodiscard]] inline miScalar shareFromBehind(const FibreFrame& frame, const miVector& toLight) noexcept {
    const miVector across = toLight - frame.along * dot(frame.along, toLight);
    return 0.5f - 0.5f * dot(normalized(across), frame.toward);
}

/// A number from 0 to 1 for an integer, the same for the same `seed`; without visible order.
[[nodiscard]] miScalar hashedNumber(miUint number, miUint seed) noexcept;

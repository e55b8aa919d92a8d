// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The shapes that a medium fills, between -1 and 1 in its space.

#include "orcaVolumePrimitive.h"

enum MediumKind : miInteger {
    MEDIUM_EVERYWHERE = 0,
    MEDIUM_BOX = 1,
    MEDIUM_SLAB = 2, ///< between y = -1 and 1
    MEDIUM_SPHERE = 3,
    MEDIUM_CONE = 4 ///< about z, of radius 1 at z = -1
};

struct MediumShape {
    miInteger kind;         ///< a MediumKind; others are everywhere
    miScalar coneEndRadius; ///< of a cone, at z = 1

    /// The part of a ray inside. False: there is none after 0.
    /// @param origin, direction of the ray, in the shape's space; distances are in units of the direction
    [[nodiscard]] bool crossed(const miVector& origin, const miVector& direction, VolumeSpan& span) const;
    /// How deep a point is: 0 at the surface, 1 in the middle; 1 everywhere without a surface.
    [[nodiscard]] miScalar depthAt(const miVector& point) const;
};

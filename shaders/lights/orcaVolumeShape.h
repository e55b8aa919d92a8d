// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The shapes that a volume light fills, between -1 and 1 in its space, with z as their axis.

#include <shader.h>

#include <optional>

enum VolumeKind : miInteger {
    VOLUME_BOX = 0,
    VOLUME_SPHERE = 1,
    VOLUME_CYLINDER = 2, ///< of radius 1
    VOLUME_CONE = 3,     ///< of radius 1 at z = -1
    VOLUME_TORUS = 4     ///< a tube of radius 0.25 about a ring of radius 0.75
};

/// Where light goes within the shape.
enum VolumeDirection : miInteger {
    DIRECTION_OUTWARD = 0, ///< from the centre, a cylinder's or cone's axis or a torus' ring
    DIRECTION_INWARD = 1,  ///< from the surface towards these
    DIRECTION_DOWN = 2     ///< along -z
};

struct VolumeShape {
    miInteger kind;         ///< a VolumeKind
    miScalar coneEndRadius; ///< of a cone, at z = 1
    miScalar arc;           ///< degrees from x towards y that the shape extends about z

    /// How light passes a point.
    struct Path {
        miVector from;     ///< where it comes from, light space
        miScalar position; ///< share of the distance through the shape that it has come, 0 to 1
    };
    /// Nothing outside of the shape.
    [[nodiscard]] std::optional<Path> at(const miVector& point, miInteger direction) const;
};

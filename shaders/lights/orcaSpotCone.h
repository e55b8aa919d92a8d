// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The cone of a spot light in light space: how strong its light is in a direction, and where a direction is
/// on the slide that it projects.

#include <shader.h>

/// Right-handed axes of a lamp: seen from behind it, x is to the right and y upwards.
struct LampFrame {
    miVector right, up, forward; ///< unit, light space

    /// About the unit vector `forward`; up is as near to y as it can be, to -z for a lamp along y.
    static LampFrame about(const miVector& forward);
    [[nodiscard]] miVector of(const miVector& v) const;
};

/// Angles in radians.
struct SpotCone {
    float half;     ///< of the cone
    float penumbra; ///< over which the light fades: outside the cone, or inside when it is negative
    float dropoff;  ///< exponent of the angle's cosine

    /// From which on there is no light, at most pi.
    [[nodiscard]] float rim() const;
    /// Share of the light at an angle from the axis, 0 to 1.
    [[nodiscard]] float share(float angle) const;
    /// The lamp's flux over its intensity along the axis, steradians. The penumbra counts as if the light
    /// ended in its middle.
    [[nodiscard]] float solidAngle() const;
};

/// Share of the light left by an edge that is met at `limit`, both angles: 1 before and 0 behind a penumbra
/// outside the limit, or inside when it is negative; smooth.
[[nodiscard]] float shareBeforeEdge(float angle, float limit, float penumbra);

/// Where the lines from a lamp meet the square around a cone's end.
class Slide {
public:
    /// @param rim half angle of the cone that the square encloses; wide cones are limited to 85 degrees
    explicit Slide(float rim);

    /// Place on the slide for a point relative to the lamp, in its frame: 0 to 1 in the cone. z is 0.
    [[nodiscard]] miVector place(const miVector& inFrame) const;
    /// Directions on a surface along which the place changes by (1, 0) and (0, 1), both in the lamp's frame:
    /// what textures are filtered by. False where the surface is seen edge on.
    bool derivatives(const miVector& inFrame, const miVector& normal, miVector& alongU,
                     miVector& alongV) const;

private:
    float scale_; ///< half the square's edge at the distance 1, inverted
};

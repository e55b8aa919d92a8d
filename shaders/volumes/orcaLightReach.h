// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Where a light is, and which part of a ray its statement lets it illuminate.

#include "orcaVolumePrimitive.h"

struct LightReach {
    LightReach(miState* state, miTag instance);

    /// Cuts a span of a ray to a spot's cone; other lights reach everywhere. False: nothing is left.
    [[nodiscard]] bool cut(const VolumeRay& ray, VolumeSpan& span) const;
    /// Cuts it to what is nearer to the light than a distance. False: nothing is left.
    [[nodiscard]] bool cutToRadius(const VolumeRay& ray, miScalar radius, VolumeSpan& span) const;

    bool known = false;    ///< it is a light
    bool hasPlace = false; ///< else it is infinitely far
    bool isSpot = false;
    miVector origin{};    ///< internal space
    miVector direction{}; ///< of a spot's axis, unit
    miScalar spread{};    ///< cosine of the angle at which a spot's light ends
};

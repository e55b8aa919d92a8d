// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/tessellation/refinement.h"

#include "scene/elements/approximation.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orca::geometry {

/// What decides how finely the curved surfaces of an object are tessellated, besides what the object says.
struct SurfaceSettings {
    SurfaceViews views;
    const std::vector<scene::ApproximateStatement>* overrides = nullptr; ///< of all objects

    /// What is said of a part of that name, by the overrides or else by the object; null: nothing.
    [[nodiscard]] const scene::SurfaceApproximation*
    approximationOf(const std::vector<scene::ApproximateStatement>& own,
                    scene::ApproximateStatement::Part part, const std::string& name) const {
        const scene::SurfaceApproximation* const overriding =
            overrides ? scene::approximationOf(*overrides, part, name) : nullptr;
        return overriding ? overriding : scene::approximationOf(own, part, name);
    }
};

/// Says that a surface takes too many triangles.
template <class Surface>
void warnOfCoarseness(const std::string& object, const Surface& surface, Log& log) {
    log.warningAt(
        surface.location, "GEOM",
        "object \"{}\", surface \"{}\": as finely as is asked for it takes too many triangles; it is left "
        "coarser",
        object, surface.name);
}

/// Triangles of one surface; when there would be more, it is left coarser.
constexpr std::size_t surfaceTrianglesAtMost = 8u << 20;

} // namespace orca::geometry

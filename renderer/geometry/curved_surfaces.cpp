// SPDX-License-Identifier: Apache-2.0
#include "geometry/curved_surfaces.h"

#include "geometry/freeform/freeform_mesh.h"
#include "geometry/subdivision/subdivide.h"

#include <exception>

namespace orca::geometry {

std::vector<scene::TriangleList> tessellateSurfaces(const scene::ObjectElement& object,
                                                    const SurfaceSettings& settings, Log& log) {
    std::vector<scene::TriangleList> lists;
    if (!object.freeformSurfaces.empty()) lists = tessellateFreeform(object, settings, log);
    for (const scene::SubdivisionSurface& surface : object.subdivisionSurfaces) {
        const auto* const given = settings.approximationOf(
            object.surfaceApproximations, scene::ApproximateStatement::Part::Surfaces, surface.name);
        try {
            Subdivided subdivided = subdivide(surface, Refinement(given, settings.views));
            if (subdivided.coarser) warnOfCoarseness(object.name, surface, log);
            lists.push_back(std::move(subdivided.triangles));
        } catch (const std::exception& fault) {
            log.errorAt(surface.location, "GEOM", "object \"{}\": subdivision surface \"{}\" is left out: {}",
                        object.name, surface.name, fault.what());
        }
    }
    return lists;
}

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/tessellation/surface_settings.h"

#include "scene/elements/object_element.h"

#include <cstddef>

namespace orca::geometry {

struct Subdivided {
    scene::TriangleList triangles;
    bool coarser = false; ///< than asked for: the limit of triangles was met
};

/// Triangles on the limit surface, with its normals. Faces share the vertices on their edges, so that no
/// cracks open however finely each is tessellated; where textures or normals change abruptly, vertices at one
/// place are doubled. The result is the same for any number of threads. Throws std::runtime_error when the
/// base mesh cannot be subdivided.
[[nodiscard]] Subdivided subdivide(const scene::SubdivisionSurface& base, Refinement refinement,
                                   std::size_t trianglesAtMost = surfaceTrianglesAtMost);

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/tessellation/surface_settings.h"

#include "scene/elements/object_element.h"

#include <vector>

namespace orca::geometry {

/// Tessellates the curved surfaces of an object, into one list or several for each. Faulty surfaces are left
/// out, with a message each.
[[nodiscard]] std::vector<scene::TriangleList> tessellateSurfaces(const scene::ObjectElement& object,
                                                                  const SurfaceSettings& settings, Log& log);

} // namespace orca::geometry

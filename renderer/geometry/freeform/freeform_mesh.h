// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/tessellation/surface_settings.h"

#include "scene/elements/object_element.h"

#include <vector>

namespace orca::geometry {

/// Tessellates the free-form surfaces of an object, each patch into a list of its own, with normals of the
/// surfaces. Patches that meet along their borders, and surfaces that are connected along trims, get the same
/// vertices there, so that no cracks open. Faulty surfaces are left out, with a message each. The result is
/// the same for any number of threads.
[[nodiscard]] std::vector<scene::TriangleList> tessellateFreeform(const scene::ObjectElement& object,
                                                                  const SurfaceSettings& settings, Log& log);

} // namespace orca::geometry

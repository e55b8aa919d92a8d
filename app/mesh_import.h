// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/scene_file.h"

#include <atomic>
#include <cstddef>
#include <string>

namespace orca::app {

/// The triangles of a mesh file. orca-import reads it, in a process of its own: the readers of many formats
/// are no part of this program, and what they do not withstand ends that process alone.
/// @param megabytes of memory for it; 0: the machine's
/// @param stop ends it when set
[[nodiscard]] scene::ImportedMesh importMesh(const std::string& path, bool tagged, std::size_t megabytes,
                                             const std::atomic<bool>& stop);

} // namespace orca::app

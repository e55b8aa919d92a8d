// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"

#include <shader.h>

#include <vector>

namespace orca::scene {

/// Shader instances of a list from `first` on, in the order of their calls. A list that leads back into
/// itself ends before the first repeat. Empty for tags that are no shader instance.
[[nodiscard]] std::vector<miTag> shaderList(const Database& database, miTag first);

/// Appends `more`, a shader instance or list, to a list; 0 is the empty one. The list's first member.
miTag appendShaders(const Database& database, miTag list, miTag more);

} // namespace orca::scene

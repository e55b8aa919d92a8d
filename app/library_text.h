// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/scene_file.h"

#include <string>

namespace orca::app {

/// The statements that link the project's libraries and include their declarations, as far as a scene has
/// not.
[[nodiscard]] std::string libraryText(scene::Scene& scene);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "placement.h"
#include "scene_text.h"

#include <string>
#include <vector>

namespace orca::bridge {

// What a scene gets that the model lacks, as statements; both return the names of the instances.

/// A dome and a sun.
/// @param environment name of the shader that reflections see
[[nodiscard]] std::vector<std::string> printStudio(SceneText& text, const std::string& environment);

/// A plane below the model, far larger than its bounds.
[[nodiscard]] std::string printGround(SceneText& text, const Box& bounds);

} // namespace orca::bridge

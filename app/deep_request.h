// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include "render/picture.h"

namespace orca::app {

/// False, with an error, where --deep is given and the picture's options leave no deep samples that add up to
/// it. What changes finished pictures, and so is not in a deep file, is a warning.
[[nodiscard]] bool checkDeep(const CommandLine& command, const render::Picture& picture, Log& log);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "scene/elements/options_element.h"

namespace orca::app {

/// Puts the command line's options in place of the scene's. Size and window belong to the camera.
void applyOverrides(const Overrides& overrides, scene::OptionsElement& options);

/// Says which of them have no effect, or not all of it. False when that is an error.
[[nodiscard]] bool reportWithoutEffect(const Overrides& overrides, bool strict, Log& log);

} // namespace orca::app

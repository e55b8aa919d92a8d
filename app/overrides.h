// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "scene/elements/options_element.h"

namespace orca::app {

/// Puts the command line's options in place of the scene's. Size and window belong to the camera.
void applyOverrides(const Overrides& overrides, scene::OptionsElement& options);

} // namespace orca::app

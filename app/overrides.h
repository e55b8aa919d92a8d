// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "scene/elements/elements.h"

namespace orca::app {

/// Puts the command line's settings over those of the scene. Size, window, samples and tile size are the
/// renderer's to change (`render::RenderSettings`).
void applyOverrides(const Overrides& overrides, scene::OptionsElement& options);

} // namespace orca::app

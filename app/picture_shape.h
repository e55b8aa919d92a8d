// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include "render/picture.h"

namespace orca::app {

/// Size, overscan, part and window of the picture as the command line asks for them, in place of the scene's.
/// False, with an error, when nothing of the window lies in the picture; a window that reaches beyond it is a
/// warning.
[[nodiscard]] bool applyShape(const CommandLine& command, render::Picture& picture, Log& log);

/// False, with an error, where the picture has output shaders and is not rendered as a whole and without
/// overscan. For the values of one pixel they are turned off.
[[nodiscard]] bool checkOutputShaders(const CommandLine& command, render::Picture& picture, Log& log);

/// Width / height of a pixel of a picture of this size, seen by the camera.
[[nodiscard]] float pixelAspect(const miCamera& camera, int width, int height);

/// Warns, once for each camera, of a resolution whose aspect differs from the camera's: it stretches the
/// picture, which is rarely intended.
void warnOfOblongPixels(const render::Picture& picture, Log& log);

} // namespace orca::app

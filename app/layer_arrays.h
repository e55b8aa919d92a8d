// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include "base/log.h"
#include "render/frame_result.h"

#include <string>

namespace orca::app {

/// Writes all layers of a finished picture to an open file that can be mapped into memory, in place of what
/// it holds: a line "orca arrays 1 SIZE", SIZE bytes of JSON, and from the next multiple of 4096 bytes on the
/// layers, each at its offset from there. A layer is 32-bit words in the machine's byte order, floats or the
/// whole numbers of labels: the top row first, channels interleaved. The JSON names the layers and their
/// channels, and holds what the layered file says of the picture. False with a message when it cannot be
/// written.
bool writeArrays(int descriptor, const render::FrameResult& result, int frame, Log& log);

/// True when the file holds what `writeArrays` writes.
[[nodiscard]] bool holdsArrays(const std::string& path);

/// Writes the files of the command (-o, --png) from what `writeArrays` wrote to the file of --develop: the
/// files that the render would have written. Returns an exit code.
int developArrays(const CommandLine& command, Log& log);

} // namespace orca::app

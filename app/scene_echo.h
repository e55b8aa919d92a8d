// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "command_line.h"

namespace orca::app {

/// Reads the scenes and writes what was read as one scene file (--echo): all that is included in place,
/// conditionals resolved, names of input files absolute. Loads no libraries and renders nothing. A scene with
/// errors is not written. Returns an exit code.
int echoScenes(const CommandLine& command, Log& log);

} // namespace orca::app

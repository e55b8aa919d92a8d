// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca::app {

/// What a script that calls orca-render can tell from its exit status. An interruption is 128 + the signal's
/// number.
enum ExitCode : int {
    exitRendered = 0,
    exitRenderError = 1,
    exitUsage = 2,
    exitSceneError = 3,
    exitNotWritten = 4,
};

/// All codes with their meanings, a line each, for the help text.
[[nodiscard]] std::string exitCodeTable();

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca::app {

/// What a script that calls orca-render can tell from its exit status. Interruption is 128 + the signal's
/// number.
enum ExitCode : int {
    exitRendered = 0,
    exitRenderError = 1,
    exitUsage = 2,
    exitSceneError = 3,
    exitNotWritten = 4,
};

} // namespace orca::app

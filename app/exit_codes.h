// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace orca::app {

/// What a script that calls orca-render can tell from its exit status. An interruption is 128 + the signal's
/// number.
enum ExitCode : int {
    exitRendered = 0,
    exitRenderError = 1,
    exitUsage = 2,
    exitSceneError = 3,
    exitNotWritten = 4,
    exitStopped = 5,
    exitLimit = 6,
};

struct ExitCodeMeaning {
    std::string_view code, meaning;
};
/// All codes of orca-render, as help and manual page explain them.
[[nodiscard]] std::span<const ExitCodeMeaning> exitCodes();

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace orca::app {

/// From construction on, an interrupt (Ctrl-C) or a termination request sets a flag instead of ending the
/// process; a second one ends it at once. One at a time in a process.
class StopSignal {
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    [[nodiscard]] const std::atomic<bool>& flag() const;
    /// 128 + the number of the signal that came; 0 when none did.
    [[nodiscard]] int exitCode() const;
};

} // namespace orca::app

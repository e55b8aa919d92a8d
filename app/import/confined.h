// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace orca::app {

/// What a process may use; 0: any amount of time, the machine's memory.
struct ConfinedLimits {
    double seconds = 0;
    std::uint64_t processorSeconds = 0;
    std::uint64_t megabytes = 0;
};

/// How a confined process ended.
struct ConfinedEnd {
    int exitCode = 0;    ///< of a fault: that of a model that cannot be read; else as a shell has it
    std::string failure; ///< what ended it, where it could not say so itself; else empty
};

/// Runs the action in a process of its own, whose faults cost nothing else. Memory beyond the limit makes
/// allocations fail. The process ends with this one. Call it before any thread is started.
/// @param action its result is the exit code
ConfinedEnd runConfined(const ConfinedLimits& limits, const std::function<int()>& action);

} // namespace orca::app

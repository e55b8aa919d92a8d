// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "stop_signal.h"

#include "base/log.h"
#include "render/ray_meter.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace orca::app {

/// Stops a command that takes more time, memory or rays than it may: looks every few hundredths of a second,
/// so what it takes meanwhile is beyond the limit. Memory is what is resident: the address space of a
/// renderer is many times larger, and a limit of the system on that (RLIMIT_AS, RLIMIT_DATA) makes
/// allocations fail within libraries that do not expect it, instead of stopping with a checkpoint.
class LimitWatcher {
public:
    /// @param stop is set when a limit is reached, with a message; exit code: exitLimit
    LimitWatcher(const ResourceLimits& limits, StopSignal& stop, Log& log);
    ~LimitWatcher();
    LimitWatcher(const LimitWatcher&) = delete;
    LimitWatcher& operator=(const LimitWatcher&) = delete;

    /// Where renders count their rays; null when they are not limited.
    [[nodiscard]] render::RayMeter* rayMeter() { return limits_.rays ? &rays_ : nullptr; }

private:
    void watch();
    /// Which limit is reached, for the message; empty for none.
    [[nodiscard]] std::string reached() const;
    /// Waits; true when the command is over.
    bool sleep();

    ResourceLimits limits_;
    StopSignal& stop_;
    Log& log_;
    render::RayMeter rays_;
    std::mutex mutex_; // guards over_
    std::condition_variable wakeUp_;
    bool over_ = false;
    std::thread watcher_; // none without limits
};

} // namespace orca::app

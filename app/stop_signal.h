// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include <semaphore.h>

namespace orca::app {

/// From construction on, an interrupt (Ctrl-C), a termination request or the end of the terminal sets a flag
/// instead of ending the process; nohup still makes the last of no effect. Whatever does not look at the flag
/// (an image library, a shader's loop) is ended with the process soon after, its temporary files removed. A
/// second signal ends the process at once. A log pipe that is closed and a limit of file sizes do not end the
/// process. SIGUSR1 asks for a checkpoint. One at a time in a process.
class StopSignal {
public:
    /// When the process ends after a request: within a fraction of a second, whatever it is doing, or when it
    /// has written a checkpoint.
    enum class End { Soon, WhenReady };
    explicit StopSignal(const Log& log);
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    [[nodiscard]] const std::atomic<bool>& flag() const;
    /// Stops as a signal does, for a reason of the process's own.
    void stop(int exitCode);
    /// Soon, until this says otherwise.
    void setEnd(End end) { end_ = end; }
    /// What is said, and the exit code, where the process ends soon from now on.
    struct Parting {
        std::string text = "interrupted: what is not complete was not written";
        std::optional<int> exitCode; ///< none: that of the signal
    };
    void setParting(Parting parting);
    /// Number of checkpoints that were asked for.
    [[nodiscard]] const std::atomic<int>& checkpointRequests() const;
    /// 128 + the number of the signal that came, else that of `stop`; 0 when nothing stops the process.
    [[nodiscard]] int exitCode() const;

private:
    void watch();

    const Log& log_;
    std::atomic<End> end_{End::Soon};
    std::mutex partingMutex_; // guards parting_
    Parting parting_;
    sem_t arrived_{}, ended_{};
    std::thread watcher_;
};

} // namespace orca::app

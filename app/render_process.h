// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "run_reports.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <functional>

#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>

namespace orca::app {

/// The signals that a supervisor passes on, blocked in its process while this lives.
class SignalQueue {
public:
    SignalQueue();
    ~SignalQueue() { release(); }
    SignalQueue(const SignalQueue&) = delete;
    SignalQueue& operator=(const SignalQueue&) = delete;

    /// They are delivered again as they were before.
    void release();
    /// Readable when a signal has come.
    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// The next signal that has come; 0 when there is none.
    [[nodiscard]] int next() const;

private:
    sigset_t set_{}, before_{};
    int descriptor_ = -1;
};

/// How a process has ended.
struct Death {
    int status = 0; ///< as wait4 gives it
    rusage used{};

    [[nodiscard]] int signal() const { return WIFSIGNALED(status) ? WTERMSIG(status) : 0; }
    /// As a shell has it; never that of success.
    [[nodiscard]] int exitCode() const {
        return signal() ? 128 + signal() : std::max(1, WEXITSTATUS(status));
    }
    [[nodiscard]] std::uint64_t peakMemoryBytes() const {
        return static_cast<std::uint64_t>(used.ru_maxrss) * 1024;
    }
};

/// The process that renders, as the one that started it sees it. It ends with that one.
class RenderProcess {
public:
    /// Forks. The two processes tell themselves apart by `isThisOne`; the new one sends its reports to the
    /// other, and gets its signals.
    explicit RenderProcess(SignalQueue& signals);
    ~RenderProcess();
    RenderProcess(const RenderProcess&) = delete;
    RenderProcess& operator=(const RenderProcess&) = delete;

    [[nodiscard]] bool isThisOne() const { return process_ == 0; }

    /// Passes signals on and gives every report to `take`, until the process has ended.
    Death watch(const SignalQueue& signals, const std::function<void(const Report&)>& take);

    /// The last signal passed on that stops a render; 0: none.
    [[nodiscard]] int stop() const { return stop_; }

private:
    void pass(int signal);

    pid_t process_ = -1;
    int socket_ = -1;
    int stop_ = 0;
};

} // namespace orca::app

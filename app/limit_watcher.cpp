// SPDX-License-Identifier: Apache-2.0
#include "limit_watcher.h"

#include "crash_handler.h"
#include "exit_codes.h"

#include <fmt/format.h>

#include <chrono>
#include <fstream>

#include <unistd.h>

namespace orca::app {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto betweenLooks = 20ms;
/// A checkpoint of a large picture takes its time. What has not ended by then never will.
constexpr auto grace = 60s;
/// Where something that does not look at the stop flag goes on to allocate.
constexpr double mostOfMemoryLimit = 1.5;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double residentMegabytes() {
    std::size_t pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) * 1e-6;
}

} // namespace

LimitWatcher::LimitWatcher(const ResourceLimits& limits, StopSignal& stop, Log& log)
    : limits_(limits), stop_(stop), log_(log) {
    if (limits.seconds > 0 || limits.megabytes > 0 || limits.rays > 0)
        watcher_ = std::thread([this] { watch(); });
}

LimitWatcher::~LimitWatcher() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    wakeUp_.notify_one();
    if (watcher_.joinable()) watcher_.join();
}

bool LimitWatcher::sleep() {
    std::unique_lock lock(mutex_);
    return wakeUp_.wait_for(lock, betweenLooks, [this] { return over_; });
}

std::string LimitWatcher::reached() const {
    if (limits_.seconds > 0 && secondsSince(limits_.start) > limits_.seconds)
        return fmt::format("{} seconds (--limit-time)", limits_.seconds);
    if (limits_.megabytes > 0 && residentMegabytes() > static_cast<double>(limits_.megabytes))
        return fmt::format("{} MB of memory (--limit-memory)", limits_.megabytes);
    if (limits_.rays > 0 && rays_.sum() > limits_.rays)
        return fmt::format("{} rays (--limit-rays)", limits_.rays);
    return {};
}

void LimitWatcher::watch() {
    std::string limit;
    while (limit.empty()) {
        if (sleep()) return;
        limit = reached();
    }
    const Clock::time_point stopped = Clock::now();
    stop_.stop(exitLimit); // before the message, which a log that nobody reads may hold up
    log_.error("MAIN", "the limit of {} is reached: rendering stops", limit);
    const auto most = mostOfMemoryLimit * static_cast<double>(limits_.megabytes);
    while (!sleep()) {
        const bool outgrown = limits_.megabytes > 0 && residentMegabytes() > most;
        if (!outgrown && Clock::now() - stopped < grace) continue;
        endProcess(exitLimit);
    }
}

} // namespace orca::app

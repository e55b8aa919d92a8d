// SPDX-License-Identifier: Apache-2.0
#include "confined.h"

#include "exit_codes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orca::app {

namespace {

/// What the system counts as data of this process already. That of sanitized builds is larger than any
/// memory.
rlim_t dataPages() {
    rlim_t size = 0, resident = 0, shared = 0, text = 0, unused = 0, data = 0;
    std::ifstream("/proc/self/statm") >> size >> resident >> shared >> text >> unused >> data;
    return data;
}

void confine(const ConfinedLimits& limits) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none{};
    ::setrlimit(RLIMIT_CORE, &none);
    const auto page = static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
    const rlim_t most = limits.megabytes > 0 ? limits.megabytes * 1000000
                                             : static_cast<rlim_t>(::sysconf(_SC_PHYS_PAGES)) * page;
    rlimit data{};
    ::getrlimit(RLIMIT_DATA, &data);
    data.rlim_cur = std::min(data.rlim_max, most + dataPages() * page);
    ::setrlimit(RLIMIT_DATA, &data);
    if (limits.processorSeconds > 0) {
        const rlimit processor{limits.processorSeconds, limits.processorSeconds + 1};
        ::setrlimit(RLIMIT_CPU, &processor);
    }
    if (limits.seconds <= 0) return;
    double whole = 0;
    const double rest = std::modf(limits.seconds, &whole);
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(whole);
    timer.it_value.tv_usec = std::max<suseconds_t>(1, static_cast<suseconds_t>(rest * 1e6));
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

ConfinedEnd runConfined(const ConfinedLimits& limits, const std::function<int()>& action) {
    std::fflush(nullptr);
    const pid_t starter = ::getpid();
    const pid_t process = ::fork();
    if (process < 0) throw std::system_error(errno, std::generic_category(), "cannot start a process");
    if (process == 0) {
        confine(limits);
        if (::getppid() != starter) ::_exit(1);
        const int code = action();
        std::fflush(nullptr);
        ::_exit(code);
    }
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFSIGNALED(status)) return {WEXITSTATUS(status), {}};
    const int signal = WTERMSIG(status);
    if (signal == SIGALRM && limits.seconds > 0)
        return {exitLimit, fmt::format("the limit of {} seconds (--limit-time) is reached", limits.seconds)};
    if (signal == SIGXCPU && limits.processorSeconds > 0)
        return {exitSceneError, fmt::format("its reader came to no end in {} seconds of processor time",
                                            limits.processorSeconds)};
    constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
    const bool isFault = std::find(std::begin(faults), std::end(faults), signal) != std::end(faults);
    return {isFault ? static_cast<int>(exitSceneError) : 128 + signal,
            fmt::format("its reader was ended: {} (SIG{})", ::sigdescr_np(signal), ::sigabbrev_np(signal))};
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "render_process.h"

#include <cerrno>
#include <cstdio>
#include <iterator>
#include <system_error>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orca::app {

namespace {

[[noreturn]] void failWithErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

bool isStop(int signal) {
    return signal == SIGINT || signal == SIGTERM || signal == SIGHUP || signal == SIGQUIT;
}

/// As nohup has it; the process that renders is to ignore it as well then.
bool isIgnoredHangup(int signal) {
    struct sigaction action {};
    return signal == SIGHUP && ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

SignalQueue::SignalQueue() {
    ::sigemptyset(&set_);
    for (const int signal :
         {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGTSTP, SIGCONT, SIGCHLD, SIGPIPE, SIGXFSZ})
        if (!isIgnoredHangup(signal)) ::sigaddset(&set_, signal);
    if (::sigprocmask(SIG_BLOCK, &set_, &before_) != 0) failWithErrno("sigprocmask");
    descriptor_ = ::signalfd(-1, &set_, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) failWithErrno("signalfd");
}

void SignalQueue::release() {
    if (descriptor_ < 0) return;
    ::close(descriptor_);
    descriptor_ = -1;
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

int SignalQueue::next() const {
    signalfd_siginfo about{};
    return ::read(descriptor_, &about, sizeof about) == sizeof about ? static_cast<int>(about.ssi_signo) : 0;
}

RenderProcess::RenderProcess(SignalQueue& signals) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) failWithErrno("socketpair");
    std::fflush(nullptr);
    const pid_t starter = ::getpid();
    process_ = ::fork();
    if (process_ < 0) failWithErrno("cannot start a process");
    socket_ = ends[isThisOne()];
    ::close(ends[!isThisOne()]);
    if (!isThisOne()) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != starter) ::_exit(1); // it had ended before its death could tell
    signals.release();
    sendReportsTo(socket_);
}

RenderProcess::~RenderProcess() {
    if (!isThisOne()) ::close(socket_);
}

Death RenderProcess::watch(const SignalQueue& signals, const std::function<void(const Report&)>& take) {
    Report report;
    Death death;
    for (bool ended = false, silent = false; !ended;) {
        pollfd ready[] = {{signals.descriptor(), POLLIN, 0}, {silent ? -1 : socket_, POLLIN, 0}};
        ::poll(ready, std::size(ready), -1);
        bool changed = false;
        for (int signal; (signal = signals.next()) != 0;) {
            changed = changed || signal == SIGCHLD;
            pass(signal);
        }
        ended = changed && ::wait4(process_, &death.status, WNOHANG, &death.used) == process_;
        while (receive(socket_, report)) take(report);
        silent = silent || (ready[1].revents & POLLHUP);
    }
    return death;
}

void RenderProcess::pass(int signal) {
    if (signal == SIGPIPE || signal == SIGXFSZ || signal == SIGCHLD) return; // of this process
    if (isStop(signal)) stop_ = signal;
    // Queued, which tells it from one that a terminal or a farm's engine sends to both processes.
    ::sigqueue(process_, signal, {});
    if (signal == SIGTSTP) ::raise(SIGSTOP);
}

} // namespace orca::app

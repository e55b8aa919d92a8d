// SPDX-License-Identifier: Apache-2.0
#include "stop_signal.h"

#include "crash_handler.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace orca::app {

namespace {

constexpr long graceNanoseconds = 80'000'000;

std::atomic<bool> stopping{false};
std::atomic<int> received{0};
std::atomic<int> requests{0};
std::atomic<int> ownExitCode{0};
static_assert(std::atomic<bool>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free); // used in a handler
sem_t* arrived = nullptr;

/// Signals so far: those that the process's supervisor passed on, and those that came from elsewhere. A
/// terminal and some engines of farms send one request to both processes, which makes two of it here.
std::atomic<int> passedOn{0}, direct{0};

void remember(int signal, siginfo_t* about, void*) {
    const int before = errno;
    const bool fromSupervisor = about->si_code == SI_QUEUE && about->si_pid == ::getppid();
    const bool isSecond = ++(fromSupervisor ? passedOn : direct) > 1;
    // A terminal that closes sends its signal more than once.
    if (isSecond && signal != SIGHUP) {
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
    received = signal;
    stopping = true;
    ::sem_post(arrived);
    errno = before;
}

void request(int) {
    ++requests;
}

/// In the place of "ignored", which programs that shaders start would inherit.
void ignore(int) {
}

void install(std::initializer_list<int> signals, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : signals) ::sigaction(signal, &action, nullptr);
}

void installStop(int signal) {
    struct sigaction action {
    }, before{};
    ::sigaction(signal, nullptr, &before);
    if (signal == SIGHUP && before.sa_handler == SIG_IGN) return; // the command outlives its terminal
    action.sa_sigaction = remember;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(signal, &action, nullptr);
}

/// The stream's own locks may be held by whatever does not end.
void say(const std::string& text) {
    pollfd writable{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&writable, 1, 0) != 1 || !(writable.revents & POLLOUT)) return;
    if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

} // namespace

StopSignal::StopSignal(const Log& log) : log_(log) {
    ::sem_init(&arrived_, 0, 0);
    ::sem_init(&ended_, 0, 0);
    arrived = &arrived_;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) installStop(signal);
    install({SIGUSR1}, request);
    // A log that nobody reads any more and a limit of file sizes are errors of those writes alone.
    install({SIGPIPE, SIGXFSZ}, ignore);
    watcher_ = std::thread([this] { watch(); });
}

StopSignal::~StopSignal() {
    install({SIGINT, SIGTERM, SIGPIPE, SIGXFSZ, SIGUSR1}, SIG_DFL);
    ::sem_post(&ended_);
    ::sem_post(&arrived_);
    watcher_.join();
    ::sem_destroy(&arrived_);
    ::sem_destroy(&ended_);
}

void StopSignal::watch() {
    while (::sem_wait(&arrived_) != 0) continue; // interrupted by another signal
    timespec end{};
    ::clock_gettime(CLOCK_REALTIME, &end);
    end.tv_nsec += graceNanoseconds;
    end.tv_sec += end.tv_nsec / 1'000'000'000;
    end.tv_nsec %= 1'000'000'000;
    int waited;
    do waited = ::sem_timedwait(&ended_, &end);
    while (waited != 0 && errno == EINTR);
    if (waited == 0 || end_ == End::WhenReady) return;
    Parting parting;
    {
        const std::lock_guard lock(partingMutex_);
        parting = parting_;
    }
    say(log_.printed({LogLevel::Warning, "MAIN", 0, parting.text, {}}));
    endProcess(parting.exitCode.value_or(exitCode()));
}

void StopSignal::setParting(Parting parting) {
    const std::lock_guard lock(partingMutex_);
    parting_ = std::move(parting);
}

const std::atomic<bool>& StopSignal::flag() const {
    return stopping;
}

const std::atomic<int>& StopSignal::checkpointRequests() const {
    return requests;
}

void StopSignal::stop(int exitCode) {
    ownExitCode = exitCode;
    stopping = true;
    ::sem_post(&arrived_);
}

int StopSignal::exitCode() const {
    return received == 0 ? ownExitCode.load() : 128 + received;
}

} // namespace orca::app

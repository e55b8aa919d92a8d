// SPDX-License-Identifier: Apache-2.0
#include "stop_signal.h"

#include <csignal>

namespace orca::app {

namespace {

std::atomic<bool> stopping{false};
std::atomic<int> received{0};
static_assert(std::atomic<bool>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free); // used in a handler

void remember(int signal) {
    received = signal;
    stopping = true;
}

void install(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    for (const int signal : {SIGINT, SIGTERM}) ::sigaction(signal, &action, nullptr);
}

} // namespace

StopSignal::StopSignal() {
    install(remember, static_cast<int>(SA_RESETHAND));
}

StopSignal::~StopSignal() {
    install(SIG_DFL, 0);
}

const std::atomic<bool>& StopSignal::flag() const {
    return stopping;
}

int StopSignal::exitCode() const {
    return received == 0 ? 0 : 128 + received;
}

} // namespace orca::app

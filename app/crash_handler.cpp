// SPDX-License-Identifier: Apache-2.0
#include "crash_handler.h"

#include "exit_codes.h"
#include "run_reports.h"

#include "base/signal_stack.h"
#include "image/file_in_place.h"
#include "render/context/render_context.h"
#include "shading/bound_shader.h"
#include "shading/call_scope.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

namespace orca::app {

namespace {

std::atomic<const Log*> log{nullptr}; // null: the process ends by itself, or reports nothing
int fatalBefore = 0;

template <std::size_t size>
void copyText(char (&to)[size], const std::string& from) {
    std::memcpy(to, from.data(), std::min(from.size(), size - 1));
}

void copyName(char (&to)[128], const scene::Database& database, miTag tag) {
    if (const scene::Element* element = database.get(tag)) copyText(to, element->name);
}

/// Reads memory alone, so that a signal handler may call it; where that is damaged, the process dies here.
Crash crashOfThisThread() {
    Crash crash{};
    crash.pixelX = crash.pixelY = -1;
    const shading::CallScope* const call = shading::CallScope::innermost();
    if (!call) return crash;
    const auto& context = static_cast<const render::RenderContext&>(call->context());
    const scene::Database& database = context.runtime.database();
    crash.callType = context.callType;
    if (context.inEyeSample || context.samplePhase == render::gatherPhase) {
        crash.pixelX = static_cast<int>(context.base.raster_x);
        crash.pixelY = static_cast<int>(context.base.raster_y);
    }
    copyName(crash.object, database, call->state().instance);
    const miFunction* const function = call->state().shader;
    if (!function || !function->ext) return crash;
    const auto& bound = *static_cast<const shading::BoundShader*>(function->ext);
    copyName(crash.element, database, bound.tag);
    copyText(crash.shader, bound.code->name);
    copyText(crash.library, bound.code->library);
    return crash;
}

void onCrash(int signal, siginfo_t* about, void*) {
    Crash crash = crashOfThisThread();
    crash.signal = signal;
    crash.stackIsFull = signal == SIGSEGV && about->si_code > 0 && isBeyondStack(about->si_addr);
    send(crash);
    ::raise(signal); // once more when this returns, with the system's own action: a core of the place
}

int announced = 0; // exit code

void onExit() {
    const Log* const messages = log;
    if (!messages) return;
    Crash crash = crashOfThisThread();
    crash.saidWhy = messages->count(LogLevel::Fatal) > fatalBefore;
    send(crash);
    std::fflush(nullptr);
    image::removeTemporaryFiles();
    ::_exit(exitRenderError);
}

/// A library that this program links has threads that wait for work from before main on. They are not in a
/// process that was forked, and the library's destructors would wait for them.
void skipDestructors() {
    onExit();
    std::fflush(nullptr);
    ::_exit(announced);
}

} // namespace

void reportCrashes(const Log& messages) {
    log = &messages;
    fatalBefore = messages.count(LogLevel::Fatal);
    ensureSignalStack();
    std::atexit(skipDestructors); // what is registered last is called first: shader libraries have theirs
    struct sigaction action {};
    action.sa_sigaction = onCrash;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_ONSTACK | SA_RESETHAND);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler == SIG_DFL) ::sigaction(signal, &action, nullptr);
    }
}

void watchExit() {
    std::atexit(onExit);
}

int announceEnd(int exitCode) {
    log = nullptr;
    announced = exitCode;
    send(ProcessEnds{exitCode});
    return exitCode;
}

void endProcess(int exitCode) {
    image::removeTemporaryFiles();
    ::_exit(announceEnd(exitCode));
}

} // namespace orca::app

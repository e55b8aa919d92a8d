// SPDX-License-Identifier: Apache-2.0
#include "exit_guard.h"

#include "exit_codes.h"

#include "image/file_in_place.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

namespace orca::app {

namespace {

bool rendering = false;
std::vector<std::string> shaderLibraries;

struct Caller {
    std::string library, function;
    bool byMessage = false; ///< through mi_fatal, which has said why
};

/// Who called exit(): the outermost function of the innermost shader library on this thread's stack.
Caller callerOfExit() {
    std::array<void*, 256> frames{};
    const int depth = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    Caller caller;
    for (int i = 0; i < depth; ++i) {
        Dl_info info{};
        // Within the call: behind one that does not return, another function may begin.
        const char* const call = static_cast<const char*>(frames[static_cast<std::size_t>(i)]) - 1;
        if (::dladdr(call, &info) == 0 || !info.dli_fname) continue;
        const bool isShader = std::find(shaderLibraries.begin(), shaderLibraries.end(), info.dli_fname) !=
                              shaderLibraries.end();
        if (isShader && (caller.library.empty() || caller.library == info.dli_fname)) {
            caller.library = info.dli_fname;
            if (info.dli_sname && *info.dli_sname) caller.function = info.dli_sname;
        } else if (!caller.library.empty()) {
            break;
        } else if (info.dli_sname && std::string_view(info.dli_sname) == "mi_fatal") {
            caller.byMessage = true;
        }
    }
    return caller;
}

void endWithMessage() {
    if (!rendering) return;
    const Caller caller = callerOfExit();
    if (!caller.byMessage) {
        const std::string text = fmt::format(
            "SHDR 0.0   fatal : {} ended the process by calling exit(); the picture is not complete and was "
            "not written\n",
            caller.library.empty() ? "a shader"
                                   : fmt::format("shader \"{}\" of \"{}\"", caller.function, caller.library));
        std::fwrite(text.data(), 1, text.size(), stderr);
    }
    std::fflush(nullptr);
    image::removeTemporaryFiles();
    ::_exit(exitRenderError);
}

} // namespace

ExitGuard::ExitGuard(std::vector<std::string> libraries) {
    static const int registered = std::atexit(endWithMessage);
    static_cast<void>(registered);
    shaderLibraries = std::move(libraries);
    rendering = true;
}

ExitGuard::~ExitGuard() {
    rendering = false;
}

} // namespace orca::app

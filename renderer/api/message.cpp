// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "base/active_log.h"
#include "base/printf_text.h"

#include <shader.h>

#include <cstdarg>
#include <cstdlib>

using orca::LogLevel;

namespace {

void post(const char* function, LogLevel level, const char* format, va_list arguments) {
    orca::api::guarded(function, [&] {
        orca::activeLog().postLimited(format ? format : "",
                                      {level, "SHDR", 0, orca::printfText(format, arguments), {}});
    });
}

} // namespace

#define ORCA_FORWARD_MESSAGE(name, level)                                                                    \
    DLLEXPORT void name(const char* format, ...) {                                                           \
        va_list arguments;                                                                                   \
        va_start(arguments, format);                                                                         \
        post(#name, level, format, arguments);                                                               \
        va_end(arguments);                                                                                   \
    }

extern "C" {

ORCA_FORWARD_MESSAGE(mi_error, LogLevel::Error)
ORCA_FORWARD_MESSAGE(mi_warning, LogLevel::Warning)
ORCA_FORWARD_MESSAGE(mi_info, LogLevel::Info)
ORCA_FORWARD_MESSAGE(mi_progress, LogLevel::Progress)
ORCA_FORWARD_MESSAGE(mi_debug, LogLevel::Debug)
ORCA_FORWARD_MESSAGE(mi_vdebug, LogLevel::VDebug)

DLLEXPORT void mi_fatal(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    post("mi_fatal", LogLevel::Fatal, format, arguments);
    va_end(arguments);
    // Shaders are promised that this does not return, and nothing tells what they leave half done.
    std::exit(EXIT_FAILURE);
}

} // extern "C"

// SPDX-License-Identifier: Apache-2.0
#include "base/log.h"

#include "shading/active_renderer.h"

#include <shader.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using orca::LogLevel;

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::vector<char> text(static_cast<std::size_t>(length < 0 ? 0 : length) + 1);
    if (length >= 0) std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    return length < 0 ? std::string(format) : std::string(text.data());
}

void post(LogLevel level, const char* format, va_list arguments) {
    const std::string text = formatted(format ? format : "", arguments);
    if (auto* log = orca::shading::activeRenderer().log) log->post({level, "SHDR", 0, text, {}});
    else std::fprintf(stderr, "%s\n", text.c_str());
}

} // namespace

#define ORCA_FORWARD_MESSAGE(name, level)                                                                    \
    DLLEXPORT void name(const char* format, ...) {                                                           \
        va_list arguments;                                                                                   \
        va_start(arguments, format);                                                                         \
        post(level, format, arguments);                                                                      \
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
    post(LogLevel::Fatal, format, arguments);
    va_end(arguments);
    // Shaders are promised that this does not return, and nothing tells what they leave half done.
    std::exit(EXIT_FAILURE);
}

} // extern "C"

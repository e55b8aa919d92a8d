// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"

#include "base/active_log.h"
#include "base/describe_exception.h"

#include <cstdio>
#include <string>

namespace orca::api {

void reportException(const char* function) noexcept {
    try {
        const std::string text = std::string(function) + " failed: " + describeException();
        activeLog().once(text, {LogLevel::Error, "API", 0, text, {}});
    } catch (...) { // the log itself has failed, or there is no memory for a message
        std::fprintf(stderr, "%s failed, and so did the report of it\n", function);
    }
}

} // namespace orca::api

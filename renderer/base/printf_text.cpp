// SPDX-License-Identifier: Apache-2.0
#include "base/printf_text.h"

#include <cstddef>
#include <cstdio>

namespace orca {

std::string printfText(const char* format, std::va_list arguments) {
    if (!format) return {};
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text;
    if (length < 0) {
        text = format;
    } else {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <string>

namespace orca {

/// Text of a printf format with its arguments; the format itself where it cannot be followed. Null: empty.
[[nodiscard]] std::string printfText(const char* format, std::va_list arguments);

} // namespace orca

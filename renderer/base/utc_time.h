// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca {

/// Now, as 2026-01-31T12:00:00Z (ISO 8601): sorts as text, and means the same on every machine of a farm.
[[nodiscard]] std::string utcTime();

} // namespace orca

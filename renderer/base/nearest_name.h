// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orca {

/// The closest of the names, when it is close enough to be what was meant; else empty. Case does not count.
[[nodiscard]] std::string nearestName(std::string_view wanted, const std::vector<std::string_view>& names);

} // namespace orca

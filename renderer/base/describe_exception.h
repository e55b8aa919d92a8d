// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca {

/// Text of the exception now being handled.
[[nodiscard]] std::string describeException();

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca::image {

/// What is wrong with an OpenEXR file's header before the library may read it: for an attribute it allocates
/// whatever length the file says, up to 2 GB, and reads afterwards. Empty for a plausible header and for
/// files of other formats.
[[nodiscard]] std::string faultOfExrHeader(const std::string& path);

} // namespace orca::image

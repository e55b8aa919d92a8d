// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca::image {

/// What a JPEG or TIFF file that was cut off lacks, for which the image library puts grey or black pixels
/// without a word; empty for a whole file and for other formats, whose look-ups fail.
[[nodiscard]] std::string whatIsMissing(const std::string& path);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca::image {

/// What a truncated JPEG or TIFF file lacks: the image library fills it with grey or black and reports no
/// error. Empty for a complete file and for other formats, whose look-ups fail.
[[nodiscard]] std::string whatIsMissing(const std::string& path);

/// Why reading a file would end the process or make no image, by its header; empty for what can be read, and
/// for what the image library says itself that it cannot.
[[nodiscard]] std::string whyUnusable(const std::string& path);

} // namespace orca::image

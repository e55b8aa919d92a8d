// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/file_pattern.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orca::app {

/// Frame numbers of a range such as "12", "1-100", "1-100x2", or several joined by commas. Nothing for text
/// that is no range, is descending or has a step below 1.
[[nodiscard]] std::optional<std::vector<int>> framesOf(std::string_view range);

/// The frame numbers as a range, in the form that `framesOf` reads: "1-3,7".
[[nodiscard]] std::string rangesOf(std::vector<int> frames);

using scene::hasFramePattern;
using scene::withFrame;

/// The frame number put before the extension: "a.exr" becomes "a.0012.exr".
[[nodiscard]] std::string withFrameAdded(const std::string& path, int frame);

} // namespace orca::app

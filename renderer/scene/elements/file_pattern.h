// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orca::scene {

// Names that stand for several files.

/// True when the name has a run of `#`, a placeholder of the frame number.
[[nodiscard]] bool hasFramePattern(std::string_view name);
/// Every run of `#` replaced by the frame number, padded with zeros to the run's length.
[[nodiscard]] std::string withFrame(std::string_view pattern, int frame);

/// The placeholder of an image tile's number, 1001 + u + 10 v for texture coordinates from (u, v) on.
inline constexpr std::string_view tilePlaceholder = "<UDIM>";
/// True when the name has the placeholder of tiles.
[[nodiscard]] inline bool hasTilePattern(std::string_view name) {
    return name.find(tilePlaceholder) != std::string_view::npos;
}

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <map>
#include <string>
#include <variant>

namespace orca::image {

struct Rational {
    int numerator;
    unsigned denominator;
};
/// Row by row, for row vectors.
using Matrix = std::array<float, 16>;
/// What a file says about its picture, by key. Files of other formats than OpenEXR hold texts and numbers,
/// with `orca:` before the key.
using MetadataValue = std::variant<std::string, int, float, Rational, Matrix>;
using Metadata = std::map<std::string, MetadataValue>;

/// Pixels beyond each side of the display in a picture with overscan, left and right, below and above: "32
/// 18".
inline constexpr const char* overscanKey = "overscan";

/// Keys of what another render of the same picture may say otherwise: seconds that rendering took, date in
/// UTC and computer. The names of the last three are usual in OpenEXR files.
inline constexpr const char* renderSecondsKey = "renderSeconds";
inline constexpr const char* capturedKey = "capDate";
inline constexpr const char* utcOffsetKey = "utcOffset";
inline constexpr const char* hostKey = "HostComputer";

} // namespace orca::image

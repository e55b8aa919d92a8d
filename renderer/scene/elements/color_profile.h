// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace orca::scene {

/// What the numbers of a colour mean: how they become linear light.
enum class ColorProfile {
    Linear, ///< unchanged
    Srgb,   ///< the display curve of IEC 61966-2-1
    Gamma22 ///< a power of 2.2
};

/// The profile of a name, in any case: "linear" or "raw", "sRGB", "gamma2.2". Nothing for other names.
[[nodiscard]] std::optional<ColorProfile> colorProfileNamed(std::string_view name);
/// The names that are understood, for messages.
inline constexpr std::string_view colorProfileNames = "\"linear\", \"raw\", \"sRGB\" and \"gamma2.2\"";

/// Linear light of one channel. Below 0, curves continue as an odd function.
[[nodiscard]] float linearFrom(ColorProfile profile, float value);
/// The inverse.
[[nodiscard]] float fromLinear(ColorProfile profile, float linear);

} // namespace orca::scene

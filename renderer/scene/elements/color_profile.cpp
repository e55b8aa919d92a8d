// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/color_profile.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

namespace orca::scene {

std::optional<ColorProfile> colorProfileNamed(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (lower == "linear" || lower == "raw") return ColorProfile::Linear;
    if (lower == "srgb") return ColorProfile::Srgb;
    if (lower == "gamma2.2") return ColorProfile::Gamma22;
    return std::nullopt;
}

float linearFrom(ColorProfile profile, float value) {
    const float magnitude = std::abs(value);
    switch (profile) {
    case ColorProfile::Srgb:
        return std::copysign(magnitude <= 0.04045f ? magnitude / 12.92f
                                                   : std::pow((magnitude + 0.055f) / 1.055f, 2.4f),
                             value);
    case ColorProfile::Gamma22: return std::copysign(std::pow(magnitude, 2.2f), value);
    default: return value;
    }
}

float fromLinear(ColorProfile profile, float linear) {
    const float magnitude = std::abs(linear);
    switch (profile) {
    case ColorProfile::Srgb:
        return std::copysign(magnitude <= 0.0031308f ? magnitude * 12.92f
                                                     : 1.055f * std::pow(magnitude, 1.0f / 2.4f) - 0.055f,
                             linear);
    case ColorProfile::Gamma22: return std::copysign(std::pow(magnitude, 1.0f / 2.2f), linear);
    default: return linear;
    }
}

} // namespace orca::scene

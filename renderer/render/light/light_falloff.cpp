// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_falloff.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

float LightFalloff::at(float distance) const {
    if (distance >= 1.0f) {
        if (!(strength_[0] < strength_[1])) return strength_[0];
        return strength_[0] * std::pow(distance, std::log2(strength_[0] / strength_[1]));
    }
    int power = 0;
    const float rest = std::frexp(1.0f / distance, &power); // 0.5 to 1 of 2^power
    const auto index = static_cast<std::size_t>(power - 1);
    if (index + 1 >= distances) return strength_.back();
    const float share = 2.0f * rest - 1.0f;
    return strength_[index] + share * (strength_[index + 1] - strength_[index]);
}

float LightFalloff::largest() const {
    return *std::max_element(strength_.begin(), strength_.end());
}

float LightFalloff::smallest() const {
    return *std::min_element(strength_.begin(), strength_.end());
}

void LightFalloff::add(const LightFalloff& other) {
    for (std::size_t i = 0; i < distances; ++i) strength_[i] += other.strength_[i];
}

void LightFalloff::raiseTo(float least) {
    for (float& strength : strength_) strength = std::max(strength, least);
}

} // namespace orca::render

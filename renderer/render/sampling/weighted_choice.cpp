// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/weighted_choice.h"

#include <algorithm>
#include <numeric>

namespace orca::render {

WeightedChoice::WeightedChoice(std::span<const float> weights)
    : sums_(weights.size()), guide_(weights.size()) {
    std::inclusive_scan(weights.begin(), weights.end(), sums_.begin(), std::plus<>(), 0.0);
    std::size_t choice = 0;
    for (std::size_t part = 0; part < guide_.size(); ++part) {
        const double target = sums_.back() * static_cast<double>(part) / static_cast<double>(guide_.size());
        while (sums_[choice] <= target) ++choice;
        guide_[part] = static_cast<std::uint32_t>(choice);
    }
}

WeightedChoice::Choice WeightedChoice::choose(float u) const {
    constexpr float belowOne = 0x1.fffffep-1f;
    const double place = static_cast<double>(std::min(u, belowOne));
    const double target = place * sums_.back();
    std::size_t index = guide_[static_cast<std::size_t>(place * static_cast<double>(guide_.size()))];
    // Rounding can put the target right below what the guide has found.
    while (index > 0 && target < sums_[index - 1]) --index;
    while (sums_[index] <= target) ++index;
    const double before = index == 0 ? 0.0 : sums_[index - 1];
    return {index, std::min(static_cast<float>((target - before) / (sums_[index] - before)), belowOne)};
}

} // namespace orca::render

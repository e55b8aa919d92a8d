// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/alias_table.h"

#include <algorithm>
#include <numeric>

namespace orca::render {

AliasTable::AliasTable(std::span<const float> weights) : bins_(weights.size()) {
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    const double scale = static_cast<double>(weights.size()) / sum;
    std::vector<std::uint32_t> small, large; // bins with too little of their own, and with some to give
    for (std::uint32_t i = 0; i < weights.size(); ++i) {
        bins_[i] = {static_cast<double>(weights[i]) * scale, i};
        (bins_[i].share < 1.0 ? small : large).push_back(i);
    }
    while (!small.empty() && !large.empty()) {
        const std::uint32_t taker = small.back(), giver = large.back();
        small.pop_back();
        bins_[taker].alias = giver;
        bins_[giver].share -= 1.0 - bins_[taker].share;
        if (bins_[giver].share < 1.0) {
            large.pop_back();
            small.push_back(giver);
        }
    }
    // What is left is full but for rounding.
    for (const auto* left : {&small, &large})
        for (const std::uint32_t bin : *left) bins_[bin].share = 1.0;
}

AliasTable::Choice AliasTable::choose(float u) const {
    constexpr float belowOne = 0x1.fffffep-1f;
    const double place = static_cast<double>(u) * static_cast<double>(bins_.size());
    const std::size_t bin = std::min(static_cast<std::size_t>(place), bins_.size() - 1);
    const double rest = place - static_cast<double>(bin);
    const double share = bins_[bin].share;
    if (rest < share) return {bin, std::min(static_cast<float>(rest / share), belowOne)};
    return {bins_[bin].alias, std::min(static_cast<float>((rest - share) / (1.0 - share)), belowOne)};
}

} // namespace orca::render

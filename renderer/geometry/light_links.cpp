// SPDX-License-Identifier: Apache-2.0
#include "geometry/light_links.h"

#include <algorithm>

namespace orca::geometry {

std::uint32_t LightSets::listFor(const scene::LightLinks* links) {
    if (!links) return 0;
    const auto [known, isNew] = listNumbers_.try_emplace(links, static_cast<std::uint32_t>(lists_.size()));
    if (!isNew) return known->second;
    std::vector<miTag> named = graph_.expandLights(links->lights);
    if (links->exclusive) {
        std::vector<miTag> others;
        for (const miTag light : graph_.lights)
            if (std::find(named.begin(), named.end(), light) == named.end()) others.push_back(light);
        named = std::move(others);
    }
    lists_.push_back(std::move(named));
    return known->second;
}

std::uint32_t LightSets::shadowSetFor(const scene::LightLinks* links) {
    if (!links) return 0;
    const auto [known, isNew] =
        shadowNumbers_.try_emplace(links, static_cast<std::uint32_t>(shadowSets_.size() + 1));
    if (!isNew) return known->second;
    std::vector<char> casts(graph_.lights.size(), links->exclusive);
    for (const miTag light : graph_.expandLights(links->lights))
        if (const auto found = indexOf_.find(light); found != indexOf_.end())
            casts[found->second] = !links->exclusive;
    shadowSets_.push_back(std::move(casts));
    return known->second;
}

void LightSets::finish() {
    if (shadowSets_.empty() || graph_.lights.empty()) return;
    tagToIndex_.assign(*std::max_element(graph_.lights.begin(), graph_.lights.end()) + 1u, noLight);
    for (const auto& [light, index] : indexOf_) tagToIndex_[light] = index;
}

} // namespace orca::geometry

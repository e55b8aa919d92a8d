// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <numeric>
#include <vector>

namespace orca::geometry {

/// Places at which vertices of several surfaces come together, joined as it turns out which are the same.
class SharedPlaces {
public:
    static constexpr std::uint32_t none = 0xffffffffu;

    /// The first of `count` new places.
    std::uint32_t add(std::size_t count) {
        const auto first = static_cast<std::uint32_t>(same_.size());
        same_.resize(same_.size() + count);
        std::iota(same_.begin() + first, same_.end(), first);
        return first;
    }
    void join(std::uint32_t a, std::uint32_t b) {
        a = find(a);
        b = find(b);
        if (a < b) same_[b] = a;
        else same_[a] = b;
    }
    /// The first of all that are joined with a place.
    [[nodiscard]] std::uint32_t find(std::uint32_t place) const {
        while (same_[place] != place) place = same_[place];
        return place;
    }
    [[nodiscard]] std::size_t count() const { return same_.size(); }

private:
    std::vector<std::uint32_t> same_; ///< an earlier place that is the same, or itself
};

} // namespace orca::geometry

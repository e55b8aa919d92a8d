// SPDX-License-Identifier: Apache-2.0
#include "base/nearest_name.h"

#include <algorithm>
#include <cctype>

namespace orca {

namespace {

/// Letters to add, drop, replace or swap with their neighbour to get from one word to the other; case is free
/// (optimal string alignment after Damerau, "A technique for computer detection and correction of spelling
/// errors", 1964).
std::size_t editDistance(std::string_view a, std::string_view b) {
    const auto same = [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    };
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = last[j - 1] + !same(a[i - 1], b[j - 1]);
            row[j] = std::min({row[j - 1] + 1, last[j] + 1, change});
            const bool swapped = i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]);
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

} // namespace

std::string nearestName(std::string_view wanted, const std::vector<std::string_view>& names) {
    constexpr std::size_t longestGuessed = 100; // noise is not a slip of the finger
    if (wanted.empty() || wanted.size() > longestGuessed) return {};
    std::string_view nearest;
    // A third of the letters may be wrong before the word counts as another one.
    std::size_t allowed = std::max<std::size_t>(1, wanted.size() / 3);
    for (const std::string_view name : names) {
        if (name.size() > longestGuessed) continue;
        const std::size_t distance = editDistance(wanted, name);
        if (distance > allowed || (distance == allowed && !nearest.empty())) continue;
        nearest = name;
        allowed = distance;
    }
    return std::string(nearest);
}

} // namespace orca

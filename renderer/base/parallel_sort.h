// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orca {

/// Sorts on the threads of the current arena: runs first, then pairs of them are merged. Elements that are
/// equal to `less` may end up in any order, the same for any number of threads.
template <class T, class Less>
void parallelSort(std::vector<T>& values, const Less& less) {
    constexpr std::size_t run = 16384;
    const std::size_t count = values.size();
    const auto at = [&](std::size_t i) {
        return values.begin() + static_cast<std::ptrdiff_t>(std::min(i, count));
    };
    const auto runs = [&](std::size_t length) { return (count + length - 1) / length; };
    parallelFor(runs(run), 1,
                [&](std::size_t i, std::size_t) { std::sort(at(i * run), at((i + 1) * run), less); });
    for (std::size_t length = run; length < count; length *= 2)
        parallelFor(runs(2 * length), 1, [&](std::size_t i, std::size_t) {
            const std::size_t first = 2 * length * i;
            std::inplace_merge(at(first), at(first + length), at(first + 2 * length), less);
        });
}

} // namespace orca

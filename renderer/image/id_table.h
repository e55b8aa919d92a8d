// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

/// A table of ids and their weights in a pixel: pairs of floats, the used ones in front, id 0 in the others.
/// It holds the ids of the largest weights; a table's words depend on the order in which weights are added,
/// so that order is fixed (see sample_blocks.h).
namespace orca::image {

inline constexpr std::size_t mostIdSlots = 16;

/// Adds a weight, which may be negative. In a full table a new id takes the place of the lightest one, if
/// that is lighter; what is dropped is missing from the pixel's coverage.
inline void addId(float* table, std::size_t slots, float id, float weight) {
    float* lightest = table;
    for (float* slot = table; slot != table + 2 * slots; slot += 2) {
        if (slot[0] == id || slot[0] == 0.0f) {
            slot[0] = id;
            slot[1] += weight;
            return;
        }
        if (std::abs(slot[1]) < std::abs(lightest[1])) lightest = slot;
    }
    if (std::abs(weight) <= std::abs(lightest[1])) return;
    lightest[0] = id;
    lightest[1] = weight;
}

/// Adds another table of as many slots, its weights scaled.
inline void addIds(float* table, const float* other, std::size_t slots, float scale) {
    for (const float* slot = other; slot != other + 2 * slots && slot[0] != 0.0f; slot += 2)
        addId(table, slots, slot[0], scale * slot[1]);
}

/// Makes the weights shares of a pixel, the largest first; of equal ones that of the smaller id's bits.
/// @param weight of the pixel's samples together; 0: the weights are shares already
inline void finishIds(float* table, std::size_t slots, float weight) {
    struct Slot {
        float id, weight;
    };
    Slot sorted[mostIdSlots];
    std::size_t count = 0;
    const float scale = weight == 0.0f ? 1.0f : 1.0f / weight;
    for (std::size_t i = 0; i < slots; ++i)
        if (table[2 * i] != 0.0f && table[2 * i + 1] != 0.0f)
            sorted[count++] = {table[2 * i], table[2 * i + 1] * scale};
    std::sort(sorted, sorted + count, [](const Slot& a, const Slot& b) {
        const float left = std::abs(a.weight), right = std::abs(b.weight);
        if (left != right) return left > right;
        return std::bit_cast<std::uint32_t>(a.id) < std::bit_cast<std::uint32_t>(b.id);
    });
    for (std::size_t i = 0; i < slots; ++i) {
        table[2 * i] = i < count ? sorted[i].id : 0.0f;
        table[2 * i + 1] = i < count ? sorted[i].weight : 0.0f;
    }
}

} // namespace orca::image

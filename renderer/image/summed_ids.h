// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/exr_rows.h"
#include "image/id_table.h"
#include "image/sums_file.h"

#include <array>
#include <cstddef>
#include <vector>

/// Tables of ids in files of sums, where a table is in several channels and, in files of many parts, in
/// several parts.
namespace orca::image {

using IdWords = std::array<float, 2 * mostIdSlots>;

/// Where the words of a table are.
struct IdPlanes {
    struct Place {
        std::size_t part, plane;
    };
    struct Slot {
        Place id, weight;
    };
    std::vector<Slot> slots;

    [[nodiscard]] IdWords at(std::vector<Rows>& parts, std::size_t pixel) const {
        IdWords words{};
        for (std::size_t i = 0; i < slots.size(); ++i) {
            words[2 * i] = word(parts, slots[i].id, pixel);
            words[2 * i + 1] = word(parts, slots[i].weight, pixel);
        }
        return words;
    }
    void put(const IdWords& words, std::vector<Rows>& parts, std::size_t pixel) const {
        for (std::size_t i = 0; i < slots.size(); ++i) {
            word(parts, slots[i].id, pixel) = words[2 * i];
            word(parts, slots[i].weight, pixel) = words[2 * i + 1];
        }
    }

private:
    static float& word(std::vector<Rows>& parts, const Place& place, std::size_t pixel) {
        return parts[place.part].numbers<float>(place.plane)[pixel];
    }
};

/// The number of a finished part, then those of the parts that hold more of its tables.
[[nodiscard]] std::vector<int> partsWithTables(const SumsFile& file, int part);

/// The tables that are in these parts. Throws std::runtime_error when one is not whole.
[[nodiscard]] std::vector<IdPlanes> idTablesIn(const SumsFile& file, const std::vector<int>& parts);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::render {

/// Chooses among many things by their weights in constant time (A. J. Walker, "An Efficient Method for
/// Generating Discrete Random Variables with General Distributions", 1977; built as in M. Vose, "A Linear
/// Algorithm for Generating Random Numbers with a Given Distribution", 1991).
class AliasTable {
public:
    AliasTable() = default;
    /// @param weights not below 0, at least one of them above
    explicit AliasTable(std::span<const float> weights);

    struct Choice {
        std::size_t index;
        float rest; ///< uniform in [0, 1) again, for a decision about what was chosen
    };
    /// @param u uniform in [0, 1)
    [[nodiscard]] Choice choose(float u) const;

private:
    struct Bin {
        double share; ///< of the bin that is its own; the rest is the alias'
        std::uint32_t alias;
    };
    std::vector<Bin> bins_;
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::render {

/// Chooses among many things by their weights, by inversion of their sums: the choice grows with the random
/// number, so that stratified numbers stay stratified over things that follow each other. A guide table makes
/// the time constant on average (H.-C. Chen and Y. Asau, "On Generating Random Variates from an Empirical
/// Distribution", 1974).
class WeightedChoice {
public:
    WeightedChoice() = default;
    /// @param weights not below 0, at least one of them above
    explicit WeightedChoice(std::span<const float> weights);

    struct Choice {
        std::size_t index;
        float rest; ///< uniform in [0, 1) again, for a decision about what was chosen
    };
    /// @param u uniform in [0, 1)
    [[nodiscard]] Choice choose(float u) const;

private:
    std::vector<double> sums_;         // of the weights up to and including each
    std::vector<std::uint32_t> guide_; // for each of as many equal parts of [0, 1): the first choice in it
};

} // namespace orca::render

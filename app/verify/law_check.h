// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "verify/pass_laws.h"
#include "verify/picture_view.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orca::app {

/// How a law fared. Numbers are those of the worst pixel: the one furthest beyond what rounding allows, or
/// the nearest to it.
struct LawOutcome {
    const PassLaw* law;
    std::size_t violated = 0; ///< pixels
    int x = 0, y = 0;         ///< in the picture, from its upper left
    int channel = 0;
    LawSides sides{};
    std::vector<float> values; ///< of the law's layers there, in that channel
    std::vector<float>
        perPixel; ///< difference of both sides where the law is violated, else 0; rows from the top

    [[nodiscard]] bool holds() const { return violated == 0; }
};

/// A layer that says nothing, and why.
struct BlackLayer {
    std::string name, reason;
};

struct PictureCheck {
    PassLaws laws;
    std::vector<LawOutcome> outcomes;   ///< of laws.holding, in their order
    std::vector<BlackLayer> black;      ///< layers of passes that are 0 at every pixel
    std::vector<std::string> notFinite; ///< layers with values that are no finite numbers

    [[nodiscard]] bool holds() const;
};

/// Checks all laws at every pixel. Numbers may differ by what single-precision sums and, in layers that are
/// stored so, half numbers round.
[[nodiscard]] PictureCheck checkPicture(const PictureView& picture);

enum class Report {
    Violations,
    Rest ///< laws that hold, black layers, and what is not expected
};
/// A line for each of them.
[[nodiscard]] std::vector<std::string> reportLines(const PictureView& picture, const PictureCheck& check,
                                                   Report report);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "verify/picture_view.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace orca::app {

/// What a law says of one pixel and channel: two numbers that are equal, or of which the left is at most the
/// right one.
struct LawSides {
    double left, right;
    bool isAtMost = false;
};

/// Something that holds at every pixel between the layers of a picture.
struct PassLaw {
    std::string text;                ///< "diffuse + shadow = diffuseNoShadow"
    std::vector<std::size_t> layers; ///< that it is about, indices into the picture's
    int channels;                    ///< for each of which it is asked
    /// @param values of a pixel, for each of the layers
    std::function<LawSides(std::span<const float* const> values, int channel)> sides;
};

/// A law that the picture's layers could have but for their settings, and why it is not expected.
struct ExemptLaw {
    std::string text, reason;
};

struct PassLaws {
    std::vector<PassLaw> holding;
    std::vector<ExemptLaw> exempt;
};

/// The laws that hold for a picture's layers, from what its metadata says of passes, lights and objects. Sums
/// are expected of pictures with closed sums alone ("additivePasses on").
[[nodiscard]] PassLaws lawsOf(const PictureView& picture);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/elements.h"

#include <shader.h>

#include <vector>

namespace orca::image {

/// Pixels that are written in the scene itself, decoded to floats once. Rows bottom up, as the scene has
/// them.
class InlinePixels {
public:
    /// `texture` has a positive width and height and as many bytes as they need.
    explicit InlinePixels(const scene::TextureElement& texture);

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    /// The `width` pixels of a row.
    [[nodiscard]] const miColor* row(int y) const {
        return colors_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    }

private:
    int width_, height_;
    std::vector<miColor> colors_;
};

} // namespace orca::image

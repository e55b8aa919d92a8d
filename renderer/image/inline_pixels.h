// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/elements.h"

#include <shader.h>

#include <memory>
#include <vector>

namespace orca::image {

/// Pixels that are written in the scene itself, decoded to floats once, or those of a light map. Rows bottom
/// up, as the scene has them.
class InlinePixels {
public:
    /// `texture` has a positive width and height and as many bytes as they need, or none, which is black; or
    /// a light map.
    explicit InlinePixels(const scene::TextureElement& texture);

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] int height() const { return height_; }
    /// The `width` pixels of a row.
    [[nodiscard]] const miColor* row(int y) const {
        return colors_->data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    }

private:
    int width_, height_;
    std::shared_ptr<const std::vector<miColor>> colors_;
};

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements.h"

#include <shader.h>

#include <vector>

namespace orca::image {

/// Pixels that stand in the scene itself, decoded to linear floats once. Rows bottom up, as the scene has
/// them.
class InlinePixels {
public:
    /// `texture` has a positive width and height and as many bytes as they need.
    explicit InlinePixels(const scene::TextureElement& texture);

    /// s and t in [0, 1).
    [[nodiscard]] miColor nearest(float s, float t) const;
    /// Blends the four texel centres around the point, across the edges.
    [[nodiscard]] miColor bilinear(float s, float t) const;

private:
    [[nodiscard]] const miColor& at(int x, int y) const {
        return colors_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                       static_cast<std::size_t>(x)];
    }

    int width_, height_;
    std::vector<miColor> colors_;
};

} // namespace orca::image

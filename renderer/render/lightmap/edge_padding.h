// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstdint>
#include <vector>

namespace orca::render {

/// Colours of a texture and which of its texels have one, rows bottom up.
struct TexelColors {
    TexelColors(int mapWidth, int mapHeight);

    int width, height;
    std::vector<miColor> colors; ///< zero where there is none
    std::vector<std::uint8_t> filled;
};

/// Fills texels around the filled ones, up to `margin` texels away, ring by ring: each with the mean of its
/// up to eight neighbours that have a colour. Look-ups between texels and on coarser levels then find no
/// black at the edges of what is laid out.
void padEdges(TexelColors& texels, int margin);

} // namespace orca::render

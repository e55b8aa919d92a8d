// SPDX-License-Identifier: Apache-2.0
#include "render/lightmap/edge_padding.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace orca::render {

namespace {

/// Calls visit(index) for the up to eight neighbours of a texel.
template <class Visit>
void eachNeighbour(const TexelColors& texels, std::size_t index, const Visit& visit) {
    const int x = static_cast<int>(index % static_cast<std::size_t>(texels.width));
    const int y = static_cast<int>(index / static_cast<std::size_t>(texels.width));
    for (int row = std::max(y - 1, 0); row <= std::min(y + 1, texels.height - 1); ++row)
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, texels.width - 1); ++column)
            if (row != y || column != x)
                visit(static_cast<std::size_t>(row) * static_cast<std::size_t>(texels.width) +
                      static_cast<std::size_t>(column));
}

miColor meanOfNeighbours(const TexelColors& texels, std::size_t index) {
    miColor sum{};
    float count = 0.0f;
    eachNeighbour(texels, index, [&](std::size_t neighbour) {
        if (!texels.filled[neighbour]) return;
        const miColor& color = texels.colors[neighbour];
        sum = {sum.r + color.r, sum.g + color.g, sum.b + color.b, sum.a + color.a};
        ++count;
    });
    return {sum.r / count, sum.g / count, sum.b / count, sum.a / count};
}

} // namespace

TexelColors::TexelColors(int mapWidth, int mapHeight)
    : width(mapWidth),
      height(mapHeight),
      colors(static_cast<std::size_t>(mapWidth) * static_cast<std::size_t>(mapHeight)),
      filled(colors.size()) {
}

void padEdges(TexelColors& texels, int margin) {
    std::vector<std::size_t> ring, last;
    std::vector<miColor> means;
    for (std::size_t i = 0; i < texels.filled.size(); ++i)
        if (texels.filled[i]) last.push_back(i);
    for (int step = 0; step < margin && !last.empty(); ++step) {
        ring.clear();
        for (const std::size_t inside : last)
            eachNeighbour(texels, inside, [&](std::size_t neighbour) {
                if (!texels.filled[neighbour]) ring.push_back(neighbour);
            });
        std::sort(ring.begin(), ring.end());
        ring.erase(std::unique(ring.begin(), ring.end()), ring.end());
        means.clear();
        for (const std::size_t index : ring) means.push_back(meanOfNeighbours(texels, index));
        for (std::size_t i = 0; i < ring.size(); ++i) {
            texels.colors[ring[i]] = means[i];
            texels.filled[ring[i]] = 1;
        }
        std::swap(ring, last);
    }
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/texture_element.h"

#include <span>
#include <string>
#include <vector>

namespace orca::image {

/// The image files that a texture's name stands for: one, or tiles, each for one unit of both texture
/// coordinates.
struct TextureFiles {
    std::string single;             ///< empty for tiles, and where nothing was found
    std::vector<std::string> tiles; ///< tile (u, v) at u + 10 v; empty names where there is none

    [[nodiscard]] bool empty() const { return single.empty() && tiles.empty(); }
};

constexpr int tileColumns = 10;    ///< of numbers of tiles: 1001 + u + 10 v
constexpr int firstTile = 1001;    ///< tile (0, 0)
constexpr int greatestTile = 9999; ///< numbers have four digits

/// Names under which the file of a texture is looked for: in the scene's folder, then in the others. A file
/// of the very name comes before what its number signs stand for, the frame's number.
[[nodiscard]] std::vector<std::string> candidatesOf(const scene::TextureElement& texture,
                                                    std::span<const std::string> folders, int frame);

/// Of these names, the first that leads to files.
[[nodiscard]] TextureFiles filesOf(const scene::TextureElement& texture, std::span<const std::string> folders,
                                   int frame);

} // namespace orca::image

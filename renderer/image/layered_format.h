// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orca::image {

enum class PartLayout { MultiPart, SinglePart };

/// How a part of an OpenEXR file is compressed.
struct ExrCompression {
    std::string word = "zips"; ///< none, rle, zip, zips, piz, pxr24 or dwaa
    float level = 45.0f;       ///< of dwaa: 0 loses nothing that is seen, the more the smaller

    /// False where what is read differs from what was written.
    [[nodiscard]] bool isLossless() const { return word != "pxr24" && word != "dwaa"; }
};

/// How the layered file is stored.
struct LayeredFormat {
    PartLayout layout = PartLayout::MultiPart;
    /// Of all layers; one that is not lossless of filtered colours only, since positions, depths and the like
    /// are not to be rounded.
    ExrCompression compression;
    /// Layers, by name, that are stored as half (true) or float numbers. An empty name stands for the colours
    /// that have no entry; without it they are half.
    std::vector<std::pair<std::string, bool>> half;
    int tileSize = 0;     ///< pixels; 0: rows instead of tiles
    bool mipMaps = false; ///< each tiled part also at half its size, a quarter and so on, down to one pixel

    [[nodiscard]] bool isTiled() const { return tileSize > 0; }
};

} // namespace orca::image

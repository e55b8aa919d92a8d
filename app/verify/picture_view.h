// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace orca::app {

/// Texts of a file's or a layer's metadata, by key.
using MetadataTexts = std::map<std::string, std::string>;

/// A layer of a finished picture, in memory or from a file.
struct LayerView {
    std::string name;
    int channels;
    const float* pixels; ///< row by row
    std::size_t stride;  ///< from a pixel to the next
    bool isHalf;         ///< its values have been rounded to half numbers
    bool isFiltered;     ///< a pixel is the mean of its samples, not one of them
    MetadataTexts metadata;
};

struct PictureView {
    int left, top; ///< of the pixels, in the picture, from its upper left
    int width, height;
    bool isBottomUp; ///< the lowest row comes first
    std::vector<LayerView> layers;
    MetadataTexts metadata;
    std::string primary; ///< name of the layer that is the picture
};

} // namespace orca::app

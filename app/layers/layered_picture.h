// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace orca::app {

/// A layer of a picture: the channels of a part, or those that have a name in common before the last dot.
struct PictureLayer {
    std::string name;                  ///< "" for channels without a name where there are no parts
    std::vector<std::string> channels; ///< without the layer's name
    int left, top;                     ///< of the data window, pixels
    int width, height;
    bool isHalf = false;       ///< all of its numbers are stored as half ones
    std::vector<float> values; ///< row by row from the top, all channels of a pixel together
    std::map<std::string, std::string> metadata; ///< of its part, as texts

    /// Values of a pixel, `x` and `y` counted from the data window's upper left corner.
    [[nodiscard]] const float* pixel(int x, int y) const {
        return values.data() +
               (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
                   channels.size();
    }
};

/// All layers of an image file of any format, in the file's order. Throws std::runtime_error with the reason
/// when it cannot be read.
[[nodiscard]] std::vector<PictureLayer> readLayers(const std::string& path);

} // namespace orca::app

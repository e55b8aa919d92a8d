// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <vector>

namespace orca::app {

/// What one tile of a picture of differences shows.
struct DifferenceTile {
    int width, height;
    std::span<const float> perPixel; ///< at least 0, row by row from the top
};

/// Writes an image with a tile for each, in rows, about as many in a row as in a column: black where there is
/// no difference, through red and yellow to white where it is `white` or more. Throws std::runtime_error with
/// the reason when it cannot be written.
/// @param tiles at least one
/// @param white above 0; the smallest difference is dark red
void writeDifferencePicture(const std::string& path, const std::vector<DifferenceTile>& tiles, float white);

} // namespace orca::app

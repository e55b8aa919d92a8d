// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "layer_difference.h"
#include "layered_picture.h"

#include <string>
#include <utility>
#include <vector>

namespace orca::app {

/// Layers with how they differ, the ones that a picture shows.
using ShownDifference = std::pair<const PictureLayer*, const LayerDifference*>;

/// Writes an image with a tile for each layer, in rows, as many in a row as in a column: black where the two
/// are alike, through red and yellow to white where they are `white` apart or more. Throws std::runtime_error
/// with the reason when it cannot be written.
/// @param shown at least one
/// @param white above 0; pixels beyond the tolerance are dark red at least
void writeDifferencePicture(const std::string& path, const std::vector<ShownDifference>& shown, float white);

} // namespace orca::app

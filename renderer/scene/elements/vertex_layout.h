// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace orca::scene {

/// Where the parts of a record of numbers lie (a vertex's, or a hair's), in floats from its start; -1: not
/// there.
struct VertexLayout {
    int stride = 3;
    int normal = -1;
    int derivatives = -1;         ///< dP/du, dP/dv
    int secondDerivatives = -1;   ///< three vectors
    int bump = -1, bumpCount = 0; ///< pairs of x and y basis vectors
    int motion = -1, motionCount = 0;
    int radius = -1;
    std::vector<int> texture{}, textureDimension{}; ///< per texture space
    std::vector<int> user{}, userDimension{};
};

} // namespace orca::scene

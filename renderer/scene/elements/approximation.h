// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca::scene {

/// How finely displaced polygons are tessellated (`approximate` statements): by the length of edges.
struct Approximation {
    float edge = 0.0f;   ///< longest edge: pixels when `inView`, else scene units
    bool inView = false; ///< as the camera sees it
    int leastHalvings = 0;
    int mostHalvings = -1; ///< of the edges that the scene gives; below 0: as many as it takes
};

} // namespace orca::scene

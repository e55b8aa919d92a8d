// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"

#include <shader.h>

#include <cstdint>

namespace orca::geometry {

struct Mesh;

/// One mesh in one place, with everything that it inherits from the instances above it.
struct Leaf {
    miTag instance;                  ///< the leaf instance; its miInstance holds the whole path's matrices
    const miInstance* instanceRecord;
    miTag object;
    const Mesh* mesh;
    miUint label;
    std::uint8_t visibleTo;          ///< bit per RayClass
    bool receivesShadows;            ///< false: shadow rays toward its points are not traced
    bool sendsReflections, sendsRefractions, sendsTransparency;  ///< "receives" bits of the modes
    char face;                       ///< 'f', 'b' or 'a'
    bool mirrored;                   ///< the placement changes handedness
};

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "scene/elements/approximation.h"

#include <shader.h>

#include <array>
#include <cstdint>
#include <span>

namespace orca::geometry {

struct Mesh;

/// One mesh at the end of one path through the scene graph, with everything that it inherits on that path.
struct MeshInstance {
    miTag instance; ///< the lowest instance; its miInstance holds the whole path's matrices
    const miInstance* instanceRecord;
    miTag object;
    const Mesh* mesh;       ///< of triangles, or of hairs
    miUint label;           ///< the instance's, or the object's where that is 0
    std::uint8_t visibleTo; ///< bit per RayClass
    bool receivesShadows;   ///< false: shadow rays toward its points are not traced
    bool sendsReflections, sendsRefractions, sendsTransparency; ///< "receives" bits of the modes
    char face;                                                  ///< 'f', 'b' or 'a'
    bool mirrored;                                              ///< the placement changes handedness

    bool placedInWorld;                 ///< the mesh itself is in world space: this is its only instance
    bool transformMoves;                ///< the matrices differ at the end of the shutter
    bool materialsOverride;             ///< the inherited materials also replace the polygons' own
    std::uint32_t materialCount;        ///< at least 1
    const miTag* materials;             ///< inherited, none of them 0; polygon labels index them
    std::uint32_t lightList, shadowSet; ///< numbers of the light sets
    const scene::Approximation* approximation; ///< of displaced polygons; null: the object's
    miMatrix localToGlobalAtEnd;               ///< of the whole path, at the end of the unit shutter
    /// The same at the ends of equal motion steps, the start included; empty: blended from start to end.
    std::span<const std::array<float, 16>> motionPath;
};

} // namespace orca::geometry

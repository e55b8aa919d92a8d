// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/vertex_layout.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orca::scene {

/// Hairs: Bezier curves with a radius. All numbers are in one array; those of a hair are its own data, then
/// its vertices, the control points of curves that share their ends.
struct HairList {
    struct Hair {
        std::uint32_t first;    ///< in `scalars`
        std::uint32_t vertices; ///< degree * segments + 1
    };
    static constexpr int mostPieces = 16;
    int degree = 1;      ///< 1 to 3
    bool round = false;  ///< tubes; else ribbons that face the ray
    int pieces = 8;      ///< straight ones that a curved ribbon has for each segment, 1 to `mostPieces`
    float radius = 0.0f; ///< of hairs and vertices without one, object space units
    miTag material = miNULLTAG;           ///< 0: inherited
    VertexLayout hairLayout{.stride = 0}; ///< of a hair's own data
    VertexLayout vertexLayout;            ///< positions are the first three floats
    std::vector<float> scalars;
    std::vector<Hair> hairs;

    [[nodiscard]] const float* vertexOf(const Hair& hair, std::size_t vertex) const {
        return &scalars[hair.first + static_cast<std::size_t>(hairLayout.stride) +
                        vertex * static_cast<std::size_t>(vertexLayout.stride)];
    }
    /// Of the vertex, else of its hair, else of all.
    [[nodiscard]] float radiusOf(const Hair& hair, std::size_t vertex) const;

    /// Fills `hairs`, each from where it starts in `scalars` up to the next; the last start may be the end of
    /// the scalars. Hairs with a number of scalars that does not fit the layouts and the degree, and with
    /// numbers that are not finite, are left out.
    /// @return what is wrong with the first of those; empty: all fit
    [[nodiscard]] std::string setHairs(const std::vector<std::int32_t>& starts);
};

} // namespace orca::scene

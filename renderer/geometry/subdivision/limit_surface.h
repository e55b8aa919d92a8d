// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/subdivision_surface.h"

#include <shader.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace orca::geometry {

/// The limit of a Catmull-Clark surface, face by face of its base mesh. Const functions are safe from any
/// thread.
class LimitSurface {
public:
    /// Throws std::runtime_error when the base mesh cannot be subdivided.
    explicit LimitSurface(const scene::SubdivisionSurface& base);
    ~LimitSurface();
    LimitSurface(const LimitSurface&) = delete;
    LimitSurface& operator=(const LimitSurface&) = delete;

    /// One edge of a face; all faces at it have the same number for it.
    struct FaceEdge {
        std::uint32_t edge;
        bool reversed; ///< against the edge's own direction
    };
    [[nodiscard]] std::vector<FaceEdge> edgesOf(std::size_t face) const;
    [[nodiscard]] std::size_t edgeCount() const;
    /// A face, and which of its edges it is.
    [[nodiscard]] std::pair<std::size_t, int> faceAt(std::size_t edge) const;

    struct Point {
        miVector position;
        miVector normal;         ///< unit, or null
        miVector derivU, derivV; ///< of the position by the first texture space; null without one
    };

    /// The surface of one face. Coordinates are those of `tessellate`.
    class Face {
    public:
        Face(const LimitSurface& surface, std::size_t face);
        ~Face();

        using Coordinate = std::array<float, 2>;
        [[nodiscard]] Coordinate onEdge(int edge, float t) const;
        [[nodiscard]] bool isQuad() const;

        /// @param motions receives the displacement along every motion segment
        /// @param textures receives the coordinate in every texture space
        void evaluate(const Coordinate& at, Point& point, miVector* motions, miVector* textures) const;
        [[nodiscard]] Point evaluate(const Coordinate& at) const;

        /// Triangles between points on the face: first those on its boundary, from corner 0 on and around,
        /// then those inside.
        /// @param edgeParts of every edge
        /// @param innerParts of a quadrilateral's two directions; other faces take the first
        void tessellate(std::span<const int> edgeParts, std::array<int, 2> innerParts,
                        std::vector<Coordinate>& coordinates,
                        std::vector<std::array<int, 3>>& triangles) const;

    private:
        struct Implementation;
        std::unique_ptr<Implementation> implementation_;
    };

private:
    friend class Face;
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <shader.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace orca::scene {

/// The base mesh of a subdivision surface, with what is sharp on it.
struct SubdivisionSurface {
    enum class Scheme {
        CatmullClark, ///< E. Catmull, J. Clark, "Recursively generated B-spline surfaces ...", 1978
        Loop          ///< C. Loop, "Smooth Subdivision Surfaces Based on Triangles", 1987; triangles alone
    };

    /// Edges and vertices of this sharpness and above stay sharp.
    static constexpr float infinitelySharp = 10.0f;

    struct Face {
        std::uint32_t first, count; ///< range of `corners`
        miTag material;             ///< 0: inherited
        std::int32_t label;         ///< of a tagged object, index into the instance's materials; else -1
    };
    struct Crease {
        std::array<std::uint32_t, 2> ends; ///< points joined by an edge
        float sharpness;                   ///< levels of subdivision for which the edge stays sharp
    };
    struct SharpPoint {
        std::uint32_t point;
        float sharpness;
    };
    /// Texture coordinates have a mesh of their own: it is cut where faces take different ones.
    struct TextureSpace {
        std::vector<miVector> coordinates;
        std::vector<std::uint32_t> corners; ///< as the corners of faces, into `coordinates`
    };

    Scheme scheme = Scheme::CatmullClark;
    std::string name;
    SourceLocation location;
    std::vector<miVector> points;
    std::vector<std::vector<miVector>> motions; ///< displacement of every point, one list per motion segment
    std::vector<Face> faces;
    std::vector<std::uint32_t> corners; ///< into `points`
    std::vector<TextureSpace> textures;
    std::vector<Crease> creases;
    std::vector<SharpPoint> sharpPoints;
    bool sharpBoundaryCorners = true; ///< points of a single face keep their place
    bool derivatives = false;         ///< by the first texture space, asked for
};

} // namespace orca::scene

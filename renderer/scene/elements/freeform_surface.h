// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orca::scene {

/// Piecewise polynomials of one parameter that weigh control points.
struct Basis {
    enum class Kind { Bezier, BSpline, Cardinal, Taylor, Matrix };
    static constexpr int highestDegree = 21;

    Kind kind = Kind::Bezier;
    bool rational = false;
    int degree = 1;
    int step = 1; ///< control points from one segment to the next
    std::vector<float>
        matrix; ///< of Matrix: row i holds the coefficients of t^0, t^1, ... of control point i

    /// Control points for so many parameters; 0: no number of them goes with these.
    [[nodiscard]] std::size_t pointsFor(std::size_t parameters) const;
};

/// One direction of a surface, or a curve.
struct SplineDirection {
    Basis basis;
    float low = 0.0f, high = 1.0f; ///< part of the parameter that is used
    std::vector<float> parameters; ///< not decreasing: ends of the segments; of a B-spline, its knots

    [[nodiscard]] float firstParameter() const; ///< of the range that the basis covers
    [[nodiscard]] float lastParameter() const;
};

/// Control points, u first; weights are empty or one for each point.
struct ControlNet {
    std::vector<miVector> points;
    std::vector<float> weights;
};

/// A curve in the parameter plane of surfaces: x is u and y is v.
struct SplineCurve {
    std::string name;
    SourceLocation location;
    SplineDirection direction;
    ControlNet net;
    std::vector<float> special; ///< parameters at which there is to be a vertex
};

struct FreeformSurface {
    /// A part of a curve; `low` above `high` runs it backward.
    struct CurvePart {
        std::uint32_t curve; ///< index into the object's curves
        float low, high;
    };
    struct Loop {
        enum class Kind { Trim, Hole, Special };
        Kind kind; ///< keeps what is inside, cuts it out, or only puts vertices there
        std::vector<CurvePart> parts;
        SourceLocation location;
    };
    struct TextureSurface {
        SplineDirection u, v;
        ControlNet net;
    };

    std::string name;
    SourceLocation location;
    miTag material = miNULLTAG; ///< 0: inherited
    std::int32_t label = -1;    ///< of a tagged object, index into the instance's materials
    SplineDirection u, v;
    ControlNet net;
    std::vector<std::vector<miVector>> motions; ///< displacement of every point, one list per motion segment
    std::vector<TextureSurface> textures;       ///< none: u and v, each from 0 to 1
    std::vector<Loop> loops;
    bool derivatives = false; ///< asked for
};

/// Two surfaces that meet along a curve in the plane of each.
struct SurfaceConnection {
    struct Side {
        std::uint32_t surface; ///< index into the object's surfaces
        FreeformSurface::CurvePart part;
    };
    Side first, second;
    SourceLocation location;
};

} // namespace orca::scene

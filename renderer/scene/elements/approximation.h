// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orca::scene {

/// How finely displaced polygons are tessellated (`approximate` statements): by the length of edges.
struct Approximation {
    float edge = 0.0f;   ///< longest edge: pixels when `inView`, else scene units
    bool inView = false; ///< as the camera sees it
    int leastHalvings = 0;
    int mostHalvings = -1; ///< of the edges that the scene gives; below 0: as many as it takes
};

/// How finely curved surfaces and curves are tessellated: into equal parts, or by halving patches until all
/// limits that are given hold.
struct SurfaceApproximation {
    int partsU = 0, partsV = 0; ///< of every patch; of a subdivision surface's faces, 2^partsU; 0: by limits
    bool ofWhole = false;       ///< parts of the whole surface instead
    float length = 0.0f;        ///< longest edge, in pixels when `inView`, else object space units; 0: any
    float distance = 0.0f;      ///< from an edge to the surface, in the same unit; 0: any
    float angle = 0.0f;         ///< between the normals at the ends of an edge, degrees; 0: any
    bool inView = false;        ///< as the camera sees it
    int leastHalvings = 0;
    int mostHalvings = -1; ///< below 0: the renderer's choice

    [[nodiscard]] bool isParametric() const { return partsU > 0; }
};

/// One `approximate` statement about curved geometry.
struct ApproximateStatement {
    enum class Part { Polygons, Surfaces, Trims, Curves, SpaceCurves };
    Part part = Part::Polygons;
    SurfaceApproximation approximation;
    std::vector<std::string> names; ///< of the surfaces or curves; empty: all
};

/// The last statement about a part of that name; null: none.
[[nodiscard]] inline const SurfaceApproximation*
approximationOf(const std::vector<ApproximateStatement>& statements, ApproximateStatement::Part part,
                const std::string& name) {
    const SurfaceApproximation* found = nullptr;
    for (const ApproximateStatement& statement : statements) {
        if (statement.part != part) continue;
        bool isMeant = statement.names.empty();
        for (const std::string& each : statement.names) isMeant = isMeant || each == name;
        if (isMeant) found = &statement.approximation;
    }
    return found;
}

} // namespace orca::scene

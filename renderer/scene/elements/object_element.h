// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/approximation.h"
#include "scene/elements/element.h"
#include "scene/elements/freeform_surface.h"
#include "scene/elements/hair_list.h"
#include "scene/elements/subdivision_surface.h"
#include "scene/elements/vertex_layout.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// Polygons over one vertex list, flat and in structure-of-arrays form. All indices of vertices point into
/// `vectors`; -1 where a vertex lacks a part that others of the group have. Optional arrays are empty or as
/// long as `position`.
struct PolygonGroup {
    struct Loop {
        std::uint32_t first, count; ///< range of `corners`
    };
    struct Polygon {
        std::uint32_t firstLoop, loopCount; ///< range of `loops`: the outline, then holes, either winding
        miTag material;                     ///< 0: inherited
        std::int32_t label; ///< of a tagged object, index into the instance's materials; else -1
        bool convex;        ///< promised by the scene
    };
    struct TextureSpace {
        std::vector<std::int32_t> coordinate, bumpX, bumpY;
    };

    std::vector<miVector> vectors;
    std::vector<std::int32_t> position;
    std::vector<std::int32_t> normal;
    std::vector<std::int32_t> derivU, derivV;
    std::vector<TextureSpace> textures; ///< one per texture space
    std::vector<std::vector<std::int32_t>>
        motions; ///< one per motion segment: displacement over the unit shutter
    std::vector<std::vector<std::int32_t>> users;
    std::vector<Polygon> polygons;
    std::vector<Loop> loops;
    std::vector<std::uint32_t> corners; ///< vertex indices

    /// Sets the entry of a vertex in an optional array; the vertices before it that lack this part get -1.
    static void setPart(std::vector<std::int32_t>& part, std::size_t vertex, std::int32_t index);
    /// Makes the optional arrays in use as long as `position`.
    void completeParts();
};

/// Triangles with their vertices' data in one array.
struct TriangleList {
    VertexLayout layout; ///< positions are the first three floats
    std::uint32_t vertexCount = 0;
    std::vector<float> vertices;        ///< vertexCount * stride
    std::vector<std::uint32_t> indices; ///< three per triangle
    std::vector<std::int32_t> labels;   ///< one per triangle in tagged objects, else empty
    std::vector<miTag> materials;       ///< one per triangle, 0: inherited; empty: all inherited
};

struct ObjectElement final : Element {
    static constexpr miScene_type elementType = miSCENE_OBJECT;
    ObjectElement();
    void* record() override { return &object; }
    [[nodiscard]] int recordSize() const override { return sizeof(object); }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    /// Flags are off and modes 3 where the scene sets none; face is 'a'. Bounds are those of the
    /// points.
    miObject object{};
    std::optional<char> face;                   ///< as the scene gives it; not given: that of the options
    std::optional<Approximation> approximation; ///< of displaced polygons; nothing: the renderer's choice
    float maxDisplacement = 0.0f;               ///< object space units, in both directions; 0: no limit
    bool tagged = false;
    std::vector<PolygonGroup> groups;
    std::vector<TriangleList> triangleLists;
    std::vector<SubdivisionSurface> subdivisionSurfaces;
    std::vector<SplineCurve> curves;
    std::vector<FreeformSurface> freeformSurfaces;
    std::vector<SurfaceConnection> connections;
    std::optional<HairList> hair; ///< nothing else is in the object then
    float mergeDistance = 0.0f;   ///< between borders of surfaces that count as the same; object space units
    std::vector<ApproximateStatement> surfaceApproximations; ///< of what is curved, in the scene's order
    bool hasLabel = false;                                   ///< 0 is one if the scene says so
    bool isEmpty = false; ///< geometry of a kind that is not supported was left out

    /// Triangles when all polygons are cut.
    [[nodiscard]] std::size_t triangleCount() const;
    /// Sets the record's bounds and type from the geometry.
    void updateRecord();
    /// Removes what the object consists of.
    void clearGeometry();
};

} // namespace orca::scene

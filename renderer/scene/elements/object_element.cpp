// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/object_element.h"

#include <algorithm>
#include <limits>

namespace orca::scene {

void PolygonGroup::setPart(std::vector<std::int32_t>& part, std::size_t vertex, std::int32_t index) {
    part.resize(vertex + 1, -1);
    part[vertex] = index;
}

void PolygonGroup::completeParts() {
    const auto complete = [this](std::vector<std::int32_t>& part) {
        if (!part.empty()) part.resize(position.size(), -1);
    };
    complete(normal);
    complete(derivU);
    complete(derivV);
    for (TextureSpace& texture : textures) {
        complete(texture.coordinate);
        complete(texture.bumpX);
        complete(texture.bumpY);
    }
    for (auto& part : motions) complete(part);
    for (auto& part : users) complete(part);
}

ObjectElement::ObjectElement() : Element(miSCENE_OBJECT) {
    object.reflection = object.refraction = object.transparency = object.finalgather = 3;
    object.shadow_mode = 3;
    object.face = 'a';
}

void ObjectElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(object.userdata);
    for (const PolygonGroup& group : groups) {
        miTag last = miNULLTAG; // neighbours mostly share their material
        for (const PolygonGroup::Polygon& polygon : group.polygons) {
            if (polygon.material != last) visit(last = polygon.material);
        }
    }
    for (const SubdivisionSurface& surface : subdivisionSurfaces)
        for (const SubdivisionSurface::Face& part : surface.faces) visit(part.material);
    for (const FreeformSurface& surface : freeformSurfaces) visit(surface.material);
    if (hair) visit(hair->material);
}

void ObjectElement::clearGeometry() {
    groups.clear();
    triangleLists.clear();
    subdivisionSurfaces.clear();
    curves.clear();
    freeformSurfaces.clear();
    connections.clear();
    hair.reset();
    mergeDistance = 0.0f;
}

std::size_t ObjectElement::triangleCount() const {
    std::size_t count = 0;
    for (const PolygonGroup& group : groups) {
        for (const PolygonGroup::Polygon& polygon : group.polygons) {
            std::size_t corners = 0;
            for (std::uint32_t i = 0; i < polygon.loopCount; ++i) {
                corners += group.loops[polygon.firstLoop + i].count;
            }
            // Every hole is joined to the outline by a pair of coincident edges.
            count += corners + 2 * (polygon.loopCount - 1) - 2;
        }
    }
    for (const TriangleList& list : triangleLists) count += list.indices.size() / 3;
    return count;
}

void ObjectElement::updateRecord() {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    miVector low{infinity, infinity, infinity}, high{-infinity, -infinity, -infinity};
    const auto include = [&](float x, float y, float z) {
        low = {std::min(low.x, x), std::min(low.y, y), std::min(low.z, z)};
        high = {std::max(high.x, x), std::max(high.y, y), std::max(high.z, z)};
    };
    for (const PolygonGroup& group : groups) {
        for (const std::int32_t point : group.position) {
            const miVector& p = group.vectors[point];
            include(p.x, p.y, p.z);
        }
    }
    for (const TriangleList& list : triangleLists) {
        for (std::size_t v = 0; v < list.vertices.size(); v += list.layout.stride) {
            include(list.vertices[v], list.vertices[v + 1], list.vertices[v + 2]);
        }
    }
    // Control points: the surfaces of most bases lie in their convex hull.
    const auto includeAll = [&](const std::vector<miVector>& points) {
        for (const miVector& p : points) include(p.x, p.y, p.z);
    };
    for (const SubdivisionSurface& surface : subdivisionSurfaces) includeAll(surface.points);
    for (const FreeformSurface& surface : freeformSurfaces) includeAll(surface.net.points);
    if (hair)
        for (const HairList::Hair& each : hair->hairs)
            for (std::size_t v = 0; v < each.vertices; ++v) {
                const float* const p = hair->vertexOf(each, v);
                const float radius = hair->radiusOf(each, v);
                include(p[0] - radius, p[1] - radius, p[2] - radius);
                include(p[0] + radius, p[1] + radius, p[2] + radius);
            }
    object.type = !groups.empty()                ? miOBJECT_POLYGONS
                  : !triangleLists.empty()       ? miOBJECT_TRIANGLES
                  : !subdivisionSurfaces.empty() ? miOBJECT_SUBDIVISION
                  : !freeformSurfaces.empty()    ? miOBJECT_FREEFORM
                  : hair                         ? miOBJECT_HAIR
                                                 : miOBJECT_EMPTY;
    const bool isAnything = low.x <= high.x;
    object.bbox_min = isAnything ? low : miVector{0, 0, 0};
    object.bbox_max = isAnything ? high : miVector{0, 0, 0};
}

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/freeform_mesh.h"

#include "base/parallel_for.h"
#include "base/vectors.h"
#include "geometry/freeform/patch.h"
#include "geometry/freeform/patch_borders.h"
#include "geometry/freeform/patch_mesh.h"
#include "geometry/freeform/trim_loops.h"
#include "geometry/tessellation/vertex_layout.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace orca::geometry {

namespace {

using Part = scene::ApproximateStatement::Part;
constexpr std::size_t pointsPerChunk = 1024;

miVector vectorAt(const float* at) {
    return {at[0], at[1], at[2]};
}

class FreeformMesh {
public:
    FreeformMesh(const scene::ObjectElement& object, const SurfaceSettings& settings, Log& log)
        : object_(object), settings_(settings), log_(log) {}

    std::vector<scene::TriangleList> make() {
        makePatches();
        borders_ = matchBorders(patches_, lines_, tolerance(), places_);
        trim();
        lists_.resize(patches_.size());
        placesOf_.resize(patches_.size());
        parallelFor(patches_.size(), 1, [&](std::size_t i, std::size_t) { makeList(i); });
        for (std::size_t i = 0; i < patches_.size(); ++i)
            if (!faults_[i].reason.empty())
                log_.errorAt(faults_[i].location, "GEOM", "object \"{}\": surface \"{}\" is left out: {}",
                             object_.name, patches_[i].surface().name, faults_[i].reason);
        shareVertices();
        parallelFor(lists_.size(), 1, [&](std::size_t i, std::size_t) { dropFlat(lists_[i]); });
        return std::move(lists_);
    }

private:
    [[nodiscard]] float tolerance() const {
        const miVector extent = object_.object.bbox_max - object_.object.bbox_min;
        constexpr float rounding = 1e-5f;
        return std::max(object_.mergeDistance, rounding * std::sqrt(dot(extent, extent)));
    }

    [[nodiscard]] const scene::SurfaceApproximation* approximation(Part part, const std::string& name) const {
        return settings_.approximationOf(object_.surfaceApproximations, part, name);
    }

    void makePatches() {
        for (std::size_t i = 0; i < object_.freeformSurfaces.size(); ++i) {
            const scene::FreeformSurface& surface = object_.freeformSurfaces[i];
            firstPatchOf_.push_back(patches_.size());
            for (Patch& patch : Patch::of(surface)) patches_.push_back(std::move(patch));
        }
        lines_.resize(patches_.size());
        std::vector<char> coarser(patches_.size(), 0);
        parallelFor(patches_.size(), 1, [&](std::size_t i, std::size_t) {
            const Patch& patch = patches_[i];
            Refinement refinement(approximation(Part::Surfaces, patch.surface().name), settings_.views);
            lines_[i] = patch.linesFor(refinement);
            while (2 * lines_[i].u.size() * lines_[i].v.size() > surfaceTrianglesAtMost &&
                   refinement.coarsen()) {
                lines_[i] = patch.linesFor(refinement);
                coarser[i] = 1;
            }
        });
        for (std::size_t i = 0; i < patches_.size(); ++i)
            if (coarser[i]) warnOfCoarseness(object_.name, patches_[i].surface(), log_);
    }

    /// How finely the curves of a loop are cut: as trims of the surface, as the curve, or as the surface.
    [[nodiscard]] Refinement refinementOf(const scene::FreeformSurface& surface,
                                          const scene::FreeformSurface::Loop& loop) const {
        const auto* given = approximation(Part::Trims, surface.name);
        if (!given) given = approximation(Part::Curves, object_.curves[loop.parts.front().curve].name);
        if (!given) given = approximation(Part::Surfaces, surface.name);
        return {given, settings_.views};
    }

    void trim() {
        const auto& surfaces = object_.freeformSurfaces;
        // parts[surface][loop][part]
        std::vector<std::vector<std::vector<TrimPart>>> parts(surfaces.size());
        parallelFor(surfaces.size(), 1, [&](std::size_t i, std::size_t) {
            for (const auto& loop : surfaces[i].loops)
                parts[i].push_back(trimParts(patches_[firstPatchOf_[i]], loop, object_.curves,
                                             refinementOf(surfaces[i], loop), lines_[firstPatchOf_[i]]));
        });
        for (const scene::SurfaceConnection& connection : object_.connections) connect(connection, parts);
        loops_.resize(patches_.size());
        faults_.resize(patches_.size());
        for (std::size_t i = 0; i < surfaces.size(); ++i)
            for (std::size_t k = 0; k < surfaces[i].loops.size(); ++k) {
                const std::size_t patch = firstPatchOf_[i];
                try {
                    loops_[patch].push_back(joinParts(patches_[patch], surfaces[i].loops[k], object_.curves,
                                                      parts[i][k], places_));
                } catch (const std::exception& fault) {
                    faults_[patch] = {surfaces[i].loops[k].location, fault.what()};
                    break;
                }
            }
    }

    struct FoundPart {
        TrimPart* part;
        bool reversed; ///< against the direction that the connection gives
    };
    [[nodiscard]] std::optional<FoundPart>
    findPart(const scene::SurfaceConnection::Side& side,
             std::vector<std::vector<std::vector<TrimPart>>>& parts) const {
        const auto& loops = object_.freeformSurfaces[side.surface].loops;
        for (std::size_t k = 0; k < loops.size(); ++k)
            for (std::size_t j = 0; j < loops[k].parts.size(); ++j) {
                const scene::FreeformSurface::CurvePart& part = loops[k].parts[j];
                if (part.curve != side.part.curve) continue;
                TrimPart* const found = &parts[side.surface][k][j];
                if (part.low == side.part.low && part.high == side.part.high) return FoundPart{found, false};
                if (part.low == side.part.high && part.high == side.part.low) return FoundPart{found, true};
            }
        return {};
    }

    /// Gives the connected parts the same vertices: those of the part that has more.
    void connect(const scene::SurfaceConnection& connection,
                 std::vector<std::vector<std::vector<TrimPart>>>& parts) {
        const auto one = findPart(connection.first, parts), other = findPart(connection.second, parts);
        if (!one || !other) {
            const scene::SurfaceConnection::Side& side = one ? connection.second : connection.first;
            log_.errorAt(
                connection.location, "GEOM",
                "object \"{}\": curve \"{}\" from {} to {} is no part of a trim, hole or special curve of "
                "surface \"{}\"; the surfaces are not connected",
                object_.name, object_.curves[side.part.curve].name, side.part.low, side.part.high,
                object_.freeformSurfaces[side.surface].name);
            return;
        }
        if (!one->part->places.empty() || !other->part->places.empty()) {
            log_.errorAt(
                connection.location, "GEOM",
                "object \"{}\": a part of surface \"{}\" or \"{}\" is connected already; each joins two "
                "surfaces",
                object_.name, object_.freeformSurfaces[connection.first.surface].name,
                object_.freeformSurfaces[connection.second.surface].name);
            return;
        }
        const auto turned = [](std::vector<double> along, bool reversed) {
            if (!reversed) return along;
            std::reverse(along.begin(), along.end());
            for (double& share : along) share = 1.0 - share;
            return along;
        };
        const bool takesFirst = one->part->along.size() >= other->part->along.size();
        const FoundPart& finer = takesFirst ? *one : *other;
        const std::vector<double> along = turned(finer.part->along, finer.reversed);
        std::vector<std::uint32_t> places(along.size());
        const std::uint32_t first = places_.add(along.size());
        for (std::size_t i = 0; i < places.size(); ++i) places[i] = first + static_cast<std::uint32_t>(i);
        for (const FoundPart& each : {*one, *other}) {
            each.part->along = turned(along, each.reversed);
            each.part->places = places;
            if (each.reversed) std::reverse(each.part->places.begin(), each.part->places.end());
        }
    }

    void makeList(std::size_t number) {
        if (!faults_[number].reason.empty()) return;
        const Patch& patch = patches_[number];
        const scene::FreeformSurface& surface = patch.surface();
        PatchMesh mesh;
        try {
            mesh = meshOf(patch, lines_[number], borders_[number], loops_[number]);
        } catch (const std::exception& fault) {
            faults_[number] = {surface.location, fault.what()};
            return;
        }
        scene::TriangleList& list = lists_[number];
        list.layout = surfaceVertexLayout(surface.derivatives, surface.motions.size(), patch.textureSpaces());
        const auto stride = static_cast<std::size_t>(list.layout.stride);
        list.vertexCount = static_cast<std::uint32_t>(mesh.points.size());
        list.vertices.resize(mesh.points.size() * stride);
        parallelFor(mesh.points.size(), pointsPerChunk, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i)
                fillVertex(patch, mesh.points[i], list.layout, &list.vertices[i * stride]);
        });
        for (const auto& triangle : mesh.triangles)
            list.indices.insert(list.indices.end(), triangle.begin(), triangle.end());
        if (surface.label >= 0) list.labels.assign(mesh.triangles.size(), surface.label);
        if (surface.material != miNULLTAG) list.materials.assign(mesh.triangles.size(), surface.material);
        placesOf_[number] = std::move(mesh.places);
    }

    static void fillVertex(const Patch& patch, const std::array<double, 2>& at,
                           const scene::VertexLayout& layout, float* vertex) {
        const auto [u, v] = at;
        const auto put = [&](int offset, const miVector& value) {
            std::memcpy(vertex + offset, &value, sizeof value);
        };
        const SurfaceSample sample = patch.sample(u, v);
        put(0, sample.point);
        put(layout.normal, sample.normal);
        if (layout.derivatives >= 0) {
            const SplineSurface& spline = patch.spline();
            const SplineSurface::Point point =
                spline.evaluate(patch.surface().net, spline.u().at(u), spline.v().at(v));
            put(layout.derivatives, point.byU);
            put(layout.derivatives + 3, point.byV);
        }
        thread_local std::vector<miVector> values;
        values.resize(std::max(static_cast<std::size_t>(layout.motionCount), layout.texture.size()));
        if (layout.motionCount > 0) patch.motionAt(u, v, values.data());
        for (int i = 0; i < layout.motionCount; ++i)
            put(layout.motion + 3 * i, values[static_cast<std::size_t>(i)]);
        patch.texturesAt(u, v, values.data());
        for (std::size_t i = 0; i < layout.texture.size(); ++i) put(layout.texture[i], values[i]);
    }

    /// Moves vertices at the same place to where the first of them is, and lets them move as it does.
    void shareVertices() {
        struct Owner {
            const scene::TriangleList* list = nullptr;
            const float* vertex = nullptr;
        };
        std::vector<Owner> owners(places_.count());
        for (std::size_t number = 0; number < lists_.size(); ++number) {
            scene::TriangleList& list = lists_[number];
            for (std::size_t i = 0; i < placesOf_[number].size(); ++i) {
                if (placesOf_[number][i] == SharedPlaces::none) continue;
                float* const vertex = &list.vertices[i * static_cast<std::size_t>(list.layout.stride)];
                Owner& owner = owners[places_.find(placesOf_[number][i])];
                if (!owner.list) {
                    owner = {&list, vertex};
                    continue;
                }
                std::copy_n(owner.vertex, 3, vertex);
                if (list.layout.motionCount == owner.list->layout.motionCount && list.layout.motionCount > 0)
                    std::copy_n(owner.vertex + owner.list->layout.motion, 3 * list.layout.motionCount,
                                vertex + list.layout.motion);
            }
        }
    }

    /// Triangles at poles have two vertices at one place.
    static void dropFlat(scene::TriangleList& list) {
        const auto stride = static_cast<std::size_t>(list.layout.stride);
        const auto point = [&](std::size_t i) { return vectorAt(&list.vertices[list.indices[i] * stride]); };
        std::size_t kept = 0;
        for (std::size_t i = 0; i < list.indices.size(); i += 3) {
            if (isNull(cross(point(i + 1) - point(i), point(i + 2) - point(i)))) continue;
            std::copy_n(&list.indices[i], 3, &list.indices[kept]);
            kept += 3;
        }
        list.indices.resize(kept);
        if (!list.labels.empty()) list.labels.resize(kept / 3); // all the same
        if (!list.materials.empty()) list.materials.resize(kept / 3);
    }

    struct Fault {
        SourceLocation location;
        std::string reason; ///< empty: none
    };

    const scene::ObjectElement& object_;
    const SurfaceSettings& settings_;
    Log& log_;
    std::vector<Patch> patches_;
    std::vector<std::size_t> firstPatchOf_; // by surface
    std::vector<Patch::Lines> lines_;       // by patch, as what follows
    std::vector<PatchBorder> borders_;
    std::vector<std::vector<TrimLoop>> loops_;
    std::vector<Fault> faults_;
    std::vector<scene::TriangleList> lists_;
    std::vector<std::vector<std::uint32_t>> placesOf_; // of vertices
    SharedPlaces places_;
};

} // namespace

std::vector<scene::TriangleList> tessellateFreeform(const scene::ObjectElement& object,
                                                    const SurfaceSettings& settings, Log& log) {
    return FreeformMesh(object, settings, log).make();
}

} // namespace orca::geometry

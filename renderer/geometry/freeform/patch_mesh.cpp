// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/patch_mesh.h"

#include "base/vectors.h"
#include "geometry/freeform/constrained_delaunay.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace orca::geometry {

namespace {

float squareBetween(const miVector& a, const miVector& b) {
    const miVector d = b - a;
    return dot(d, d);
}

/// The whole of a patch, in cells of two triangles along the shorter diagonal.
PatchMesh grid(const Patch& patch, const Patch::Lines& lines, const PatchBorder& border) {
    const std::size_t width = lines.u.size(), height = lines.v.size();
    PatchMesh mesh;
    std::vector<miVector> positions;
    for (std::size_t j = 0; j < height; ++j) {
        const SplineBasis::Weights atV = patch.spline().v().at(lines.v[j]);
        for (std::size_t i = 0; i < width; ++i) {
            mesh.points.push_back({lines.u[i], lines.v[j]});
            positions.push_back(
                patch.spline().position(patch.surface().net, patch.spline().u().at(lines.u[i]), atV));
            std::uint32_t place = SharedPlaces::none;
            if (j == 0) place = border[0].places[i];
            else if (j + 1 == height) place = border[1].places[i];
            else if (i == 0) place = border[2].places[j];
            else if (i + 1 == width) place = border[3].places[j];
            mesh.places.push_back(place);
        }
    }
    for (std::size_t j = 0; j + 1 < height; ++j)
        for (std::size_t i = 0; i + 1 < width; ++i) {
            const auto a = static_cast<std::uint32_t>(j * width + i), b = a + 1;
            const auto d = static_cast<std::uint32_t>(a + width), c = d + 1;
            if (squareBetween(positions[a], positions[c]) <= squareBetween(positions[b], positions[d])) {
                mesh.triangles.push_back({a, b, c});
                mesh.triangles.push_back({a, c, d});
            } else {
                mesh.triangles.push_back({a, b, d});
                mesh.triangles.push_back({b, c, d});
            }
        }
    return mesh;
}

/// Integer coordinates whose unit is about the same length on the surface in both directions.
class Plane {
public:
    explicit Plane(const Patch& patch) : patch_(patch) {
        const double alongU = lengthOf([&](double t) { return patch.onSide(0, t); }, true);
        const double alongV = lengthOf([&](double t) { return patch.onSide(2, t); }, false);
        const double longest = std::max(alongU, alongV);
        constexpr double finest = ConstrainedDelaunay::largestCoordinate, coarsest = 1 << 18;
        upper_ = {extent(std::max(coarsest, longest > 0.0 ? finest * (alongU / longest) : finest)),
                  extent(std::max(coarsest, longest > 0.0 ? finest * (alongV / longest) : finest))};
    }

    [[nodiscard]] ConstrainedDelaunay::Point upper() const { return upper_; }
    [[nodiscard]] ConstrainedDelaunay::Point operator()(const std::array<double, 2>& at) const {
        return {scaled(at[0], patch_.spline().u(), upper_.x), scaled(at[1], patch_.spline().v(), upper_.y)};
    }

private:
    [[nodiscard]] static std::int32_t extent(double size) { return static_cast<std::int32_t>(size); }
    [[nodiscard]] static std::int32_t scaled(double t, const SplineBasis& basis, std::int32_t most) {
        return static_cast<std::int32_t>(
            std::lround((t - basis.low()) / (basis.high() - basis.low()) * most));
    }
    /// The mean over both sides along a direction and the line half-way.
    template <class At>
    [[nodiscard]] double lengthOf(const At& at, bool alongU) const {
        const SplineBasis& across = alongU ? patch_.spline().v() : patch_.spline().u();
        double sum = 0.0;
        for (const double share : {0.0, 0.5, 1.0}) {
            const double other = across.low() + share * (across.high() - across.low());
            miVector before{};
            constexpr int steps = 8;
            for (int i = 0; i <= steps; ++i) {
                const auto on = at(static_cast<double>(i) / steps);
                const miVector point =
                    alongU ? patch_.sample(on[0], other).point : patch_.sample(other, on[1]).point;
                if (i > 0) sum += std::sqrt(static_cast<double>(squareBetween(before, point)));
                before = point;
            }
        }
        return sum;
    }

    const Patch& patch_;
    ConstrainedDelaunay::Point upper_{};
};

/// Which triangles the loops keep: all of a region between the edges of loops, or none.
std::vector<bool> keptTriangles(const ConstrainedDelaunay& delaunay, const PatchMesh& mesh,
                                std::span<const std::uint32_t> pointOf, std::span<const TrimLoop> loops) {
    const auto triangles = delaunay.triangles();
    std::vector<bool> kept(triangles.size(), true);
    if (loops.empty()) return kept;
    std::vector<bool> seen(triangles.size(), false);
    std::vector<std::uint32_t> region;
    for (std::uint32_t start = 0; start < triangles.size(); ++start) {
        if (seen[start]) continue;
        region.assign(1, start);
        seen[start] = true;
        double largest = -1.0;
        TrimLoop::Point middle{};
        for (std::size_t i = 0; i < region.size(); ++i) {
            const auto& triangle = triangles[region[i]];
            const auto corner = [&](std::size_t k) { return mesh.points[pointOf[triangle.corners[k]]]; };
            const auto a = corner(0), b = corner(1), c = corner(2);
            const double area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
            if (area > largest) {
                largest = area;
                middle = {(a[0] + b[0] + c[0]) / 3.0, (a[1] + b[1] + c[1]) / 3.0};
            }
            for (std::size_t k = 0; k < 3; ++k) {
                const std::uint32_t next = triangle.neighbours[k];
                if (next == ConstrainedDelaunay::none || triangle.isKept[k] || seen[next]) continue;
                seen[next] = true;
                region.push_back(next);
            }
        }
        const bool inside = isKept(loops, middle);
        for (const std::uint32_t triangle : region) kept[triangle] = inside;
    }
    return kept;
}

PatchMesh trimmed(const Patch& patch, const Patch::Lines& lines, const PatchBorder& border,
                  std::span<const TrimLoop> loops) {
    PatchMesh mesh;
    const auto add = [&](const std::array<double, 2>& point, std::uint32_t place) {
        mesh.points.push_back(point);
        mesh.places.push_back(place);
    };
    // The first of several points at one place counts, so those that are shared come first.
    for (const TrimLoop& loop : loops)
        for (std::size_t i = 0; i < loop.points.size(); ++i) add(loop.points[i], loop.places[i]);
    for (int side = 0; side < Patch::sides; ++side) {
        const PatchSide& all = border[static_cast<std::size_t>(side)];
        for (std::size_t i = 0; i < all.along.size(); ++i)
            add(patch.onSide(side, all.along[i]), all.places[i]);
    }
    for (std::size_t j = 1; j + 1 < lines.v.size(); ++j)
        for (std::size_t i = 1; i + 1 < lines.u.size(); ++i)
            add({lines.u[i], lines.v[j]}, SharedPlaces::none);

    const Plane plane(patch);
    std::vector<ConstrainedDelaunay::Point> points;
    for (const auto& point : mesh.points) points.push_back(plane(point));
    ConstrainedDelaunay delaunay(plane.upper(), points);
    std::size_t first = 0;
    for (const TrimLoop& loop : loops) {
        const std::size_t count = loop.points.size();
        for (std::size_t i = 0; i < count && loop.kind != scene::FreeformSurface::Loop::Kind::Special; ++i)
            if (!delaunay.keep(delaunay.vertexOf(first + i), delaunay.vertexOf(first + (i + 1) % count)))
                throw std::runtime_error(
                    fmt::format("loops cross near {}, {}", loop.points[i][0], loop.points[i][1]));
        first += count;
    }
    std::vector<std::uint32_t> pointOf(delaunay.vertices().size(), SharedPlaces::none);
    for (std::size_t i = points.size(); i-- > 0;)
        pointOf[delaunay.vertexOf(i)] = static_cast<std::uint32_t>(i);
    // A corner of the range may be known by another point first.
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::uint32_t& place = mesh.places[pointOf[delaunay.vertexOf(i)]];
        if (place == SharedPlaces::none) place = mesh.places[i];
    }
    const std::vector<bool> kept = keptTriangles(delaunay, mesh, pointOf, loops);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (!kept[i]) continue;
        const auto& corners = delaunay.triangles()[i].corners;
        mesh.triangles.push_back({pointOf[corners[0]], pointOf[corners[1]], pointOf[corners[2]]});
    }
    return mesh;
}

} // namespace

PatchMesh meshOf(const Patch& patch, const Patch::Lines& lines, const PatchBorder& border,
                 std::span<const TrimLoop> loops) {
    const bool ownLines =
        std::all_of(border.begin(), border.end(), [](const PatchSide& side) { return side.ownLines; });
    return ownLines && loops.empty() ? grid(patch, lines, border) : trimmed(patch, lines, border, loops);
}

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#include "geometry/freeform/trim_loops.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace orca::geometry {

namespace {

using Loop = scene::FreeformSurface::Loop;

double parameterAt(const scene::FreeformSurface::CurvePart& part, double along) {
    const auto low = static_cast<double>(part.low), high = static_cast<double>(part.high);
    return along >= 1.0 ? high : low + along * (high - low);
}

/// Parameters of the part of a curve, rising, between which it is one polynomial.
std::vector<double> spansOf(const scene::SplineCurve& curve, const SplineBasis& basis,
                            const scene::FreeformSurface::CurvePart& part) {
    const auto low = static_cast<double>(std::min(part.low, part.high));
    const auto high = static_cast<double>(std::max(part.low, part.high));
    std::vector<double> ends{low, high};
    const auto include = [&](double t) {
        if (t > low && t < high) ends.push_back(t);
    };
    for (const double joint : basis.joints()) include(joint);
    for (const float special : curve.special) include(static_cast<double>(special));
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    return ends;
}

/// The largest step between neighbouring lines.
double stepOf(const std::vector<double>& lines) {
    double step = 0.0;
    for (std::size_t i = 1; i < lines.size(); ++i) step = std::max(step, lines[i] - lines[i - 1]);
    return step;
}

double areaOf(const TrimLoop& loop) {
    double doubled = 0.0;
    for (std::size_t i = 0; i < loop.points.size(); ++i) {
        const TrimLoop::Point &a = loop.points[i], &b = loop.points[(i + 1) % loop.points.size()];
        doubled += a[0] * b[1] - a[1] * b[0];
    }
    return 0.5 * std::abs(doubled);
}

bool encloses(const TrimLoop& loop, const TrimLoop::Point& p) {
    bool inside = false;
    for (std::size_t i = 0; i < loop.points.size(); ++i) {
        const TrimLoop::Point &a = loop.points[i], &b = loop.points[(i + 1) % loop.points.size()];
        if ((a[1] > p[1]) != (b[1] > p[1]) && p[0] < a[0] + (p[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0]))
            inside = !inside;
    }
    return inside;
}

constexpr double closeEnough = 1e-3; // of the surface's range: ends that meet, points outside it

} // namespace

std::vector<TrimPart> trimParts(const Patch& patch, const Loop& loop,
                                std::span<const scene::SplineCurve> curves, const Refinement& refinement,
                                const Patch::Lines& lines) {
    const double stepU = stepOf(lines.u), stepV = stepOf(lines.v);
    std::vector<TrimPart> parts;
    for (const scene::FreeformSurface::CurvePart& each : loop.parts) {
        const scene::SplineCurve& source = curves[each.curve];
        const PlaneCurve curve(source);
        const std::vector<double> spans = spansOf(source, curve.basis(), each);
        std::vector<double> parameters;
        for (std::size_t i = 0; i + 1 < spans.size(); ++i) {
            const double low = spans[i], length = spans[i + 1] - low;
            int count = refinement.approximation().partsU;
            if (!refinement.approximation().isParametric())
                count = 1 << refinement.halvingsOf([&](float share) {
                    const auto [u, v] = curve.at(low + static_cast<double>(share) * length);
                    return patch.sample(u, v);
                });
            const auto isFine = [&] {
                for (int k = 0; k < count; ++k) {
                    const auto a = curve.at(low + length * k / count),
                               b = curve.at(low + length * (k + 1) / count);
                    if (std::abs(a[0] - b[0]) > 1.01 * stepU || std::abs(a[1] - b[1]) > 1.01 * stepV)
                        return false;
                }
                return true;
            };
            constexpr int most = 1 << Refinement::mostHalvings;
            while (count < most && !isFine()) count *= 2;
            for (int k = 0; k < count; ++k) parameters.push_back(low + length * k / count);
        }
        parameters.push_back(spans.back());
        if (each.low > each.high) std::reverse(parameters.begin(), parameters.end());
        TrimPart& part = parts.emplace_back();
        const double first = parameters.front(), range = parameters.back() - first;
        for (const double t : parameters) part.along.push_back((t - first) / range);
    }
    return parts;
}

TrimLoop joinParts(const Patch& patch, const Loop& loop, std::span<const scene::SplineCurve> curves,
                   std::span<const TrimPart> parts, SharedPlaces& places) {
    const SplineBasis &u = patch.spline().u(), &v = patch.spline().v();
    const double rangeU = u.high() - u.low(), rangeV = v.high() - v.low();
    TrimLoop result{loop.kind, {}, {}};
    const auto isClose = [&](const TrimLoop::Point& a, const TrimLoop::Point& b) {
        return std::abs(a[0] - b[0]) <= closeEnough * rangeU && std::abs(a[1] - b[1]) <= closeEnough * rangeV;
    };
    const auto add = [&](const TrimLoop::Point& point, std::uint32_t place) {
        const TrimLoop::Point within = {std::clamp(point[0], u.low(), u.high()),
                                        std::clamp(point[1], v.low(), v.high())};
        if (!isClose(point, within))
            throw std::runtime_error(fmt::format("curve \"{}\" leaves the surface's range at {}, {}",
                                                 curves[loop.parts.front().curve].name, point[0], point[1]));
        result.points.push_back(within);
        result.places.push_back(place);
    };
    const auto sharePlace = [&](std::uint32_t& kept, std::uint32_t other) {
        if (kept == SharedPlaces::none) kept = other;
        else if (other != SharedPlaces::none) places.join(kept, other);
    };
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const PlaneCurve curve(curves[loop.parts[i].curve]);
        for (std::size_t k = 0; k < parts[i].along.size(); ++k) {
            const TrimLoop::Point point = curve.at(parameterAt(loop.parts[i], parts[i].along[k]));
            const std::uint32_t place = parts[i].places.empty() ? SharedPlaces::none : parts[i].places[k];
            if (k == 0 && i > 0 && loop.kind != Loop::Kind::Special) {
                if (!isClose(point, result.points.back()))
                    throw std::runtime_error(fmt::format(
                        "the loop is open: curve \"{}\" begins at {}, {}, but the one before ends at {}, {}",
                        curves[loop.parts[i].curve].name, point[0], point[1], result.points.back()[0],
                        result.points.back()[1]));
                sharePlace(result.places.back(), place);
            } else {
                add(point, place);
            }
        }
    }
    if (loop.kind == Loop::Kind::Special) return result;
    if (!isClose(result.points.front(), result.points.back()))
        throw std::runtime_error(fmt::format("the loop is open: it begins at {}, {} and ends at {}, {}",
                                             result.points.front()[0], result.points.front()[1],
                                             result.points.back()[0], result.points.back()[1]));
    sharePlace(result.places.front(), result.places.back());
    result.points.pop_back();
    result.places.pop_back();
    if (result.points.size() < 3 || !(areaOf(result) > 1e-9 * rangeU * rangeV))
        throw std::runtime_error("the loop encloses nothing");
    return result;
}

bool isKept(std::span<const TrimLoop> loops, const TrimLoop::Point& point) {
    double smallest = std::numeric_limits<double>::infinity();
    bool kept = std::none_of(loops.begin(), loops.end(),
                             [](const TrimLoop& loop) { return loop.kind == Loop::Kind::Trim; });
    for (const TrimLoop& loop : loops) {
        if (loop.kind == Loop::Kind::Special || !encloses(loop, point)) continue;
        const double area = areaOf(loop);
        if (area >= smallest) continue;
        smallest = area;
        kept = loop.kind == Loop::Kind::Trim;
    }
    return kept;
}

} // namespace orca::geometry

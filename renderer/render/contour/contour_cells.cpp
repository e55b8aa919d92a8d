// SPDX-License-Identifier: Apache-2.0
#include "render/contour/contour_cells.h"

#include "render/contour/contour_tracer.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

namespace orca::render {

namespace {

using Crossing = std::optional<miContour_endpoint>;

/// The mean of points of lines, where these meet.
miContour_endpoint meanOf(std::span<const miContour_endpoint* const> points) {
    miContour_endpoint mean{};
    const float share = 1.0f / static_cast<float>(points.size());
    const auto add = [share](miVector& sum, const miVector& vector) {
        sum.x += share * vector.x;
        sum.y += share * vector.y;
        sum.z += share * vector.z;
    };
    for (const miContour_endpoint* point : points) {
        add(mean.point, point->point);
        add(mean.motion, point->motion);
        mean.width += share * point->width;
        mean.color.r += share * point->color.r;
        mean.color.g += share * point->color.g;
        mean.color.b += share * point->color.b;
        mean.color.a += share * point->color.a;
    }
    mean.normal = points.front()->normal;
    return mean;
}

/// The samples and crossings of a window, row by row.
class CellGrid {
public:
    CellGrid(ContourTracer& tracer, const PixelWindow& window)
        : tracer_(tracer),
          window_(window),
          columns_(static_cast<std::size_t>(window.width()) + 1),
          below_(columns_),
          above_(columns_),
          alongBelow_(columns_ - 1),
          alongAbove_(columns_ - 1),
          upward_(columns_) {}

    void find(std::vector<ContourSegment>& segments) {
        traceRow(window_.yl, above_, alongAbove_);
        for (int y = window_.yl; y <= window_.yh && !context().frame.stopped(); ++y) {
            below_.swap(above_);
            alongBelow_.swap(alongAbove_);
            traceRow(y + 1, above_, alongAbove_);
            for (std::size_t x = 0; x < columns_; ++x) upward_[x] = crossing(below_[x], above_[x]);
            for (std::size_t x = 0; x + 1 < columns_; ++x) connect(x, segments);
        }
    }

private:
    [[nodiscard]] const RenderContext& context() const { return tracer_.context(); }

    void traceRow(int y, std::vector<ContourSample>& samples, std::vector<Crossing>& along) {
        for (std::size_t x = 0; x < columns_; ++x)
            tracer_.trace(static_cast<float>(window_.xl + static_cast<int>(x)), static_cast<float>(y),
                          samples[x]);
        for (std::size_t x = 0; x + 1 < columns_; ++x) along[x] = crossing(samples[x], samples[x + 1]);
    }

    Crossing crossing(ContourSample& a, ContourSample& b) {
        return tracer_.contrast(a, b) ? tracer_.crossing(a, b) : std::nullopt;
    }

    void connect(std::size_t x, std::vector<ContourSegment>& segments) {
        // Counterclockwise from the lower edge: each two neighbours enclose a corner.
        const std::array<const Crossing*, 4> edges = {&alongBelow_[x], &upward_[x + 1], &alongAbove_[x],
                                                      &upward_[x]};
        std::array<const miContour_endpoint*, 4> points{};
        std::size_t count = 0;
        for (const Crossing* edge : edges)
            if (*edge) points[count++] = &**edge;
        const auto add = [&](const miContour_endpoint& from, const miContour_endpoint& to) {
            if (from.width > 0.0f || to.width > 0.0f) segments.push_back({from, to});
        };
        if (count < 2) return; // a line that ends, as a crease that flattens out, ends on a pixel's edge
        if (count == 2) return add(*points[0], *points[1]);
        if (count == 4) {
            // Two lines that pass each other, unless both diagonals contrast.
            const bool rising = tracer_.contrast(below_[x], above_[x + 1]).has_value();
            const bool falling = tracer_.contrast(below_[x + 1], above_[x]).has_value();
            if (rising != falling) {
                const std::size_t shift = rising ? 3 : 0; // which corners are cut off
                add(*points[shift], *points[(shift + 1) % 4]);
                return add(*points[(shift + 2) % 4], *points[(shift + 3) % 4]);
            }
        }
        const miContour_endpoint meeting = meanOf({points.data(), count});
        for (std::size_t i = 0; i < count; ++i) add(*points[i], meeting);
    }

    ContourTracer& tracer_;
    PixelWindow window_;
    std::size_t columns_;
    std::vector<ContourSample> below_, above_; // through the corners of a row of pixels
    std::vector<Crossing> alongBelow_, alongAbove_, upward_;
};

} // namespace

void findContours(ContourTracer& tracer, const PixelWindow& window, std::vector<ContourSegment>& segments) {
    CellGrid(tracer, window).find(segments);
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/hit_observer.h"
#include "render/context/render_context.h"
#include "render/contour/contour_sample.h"

#include <array>
#include <optional>

namespace orca::render {

/// Casts the eye rays that contour lines are found with, and calls the shaders of contours. For one thread.
/// All random decisions of the rays are the same, so that two neighbouring rays differ by what they hit
/// alone.
class ContourTracer final : public HitObserver {
public:
    explicit ContourTracer(RenderContext& context);
    ~ContourTracer();
    ContourTracer(const ContourTracer&) = delete;
    ContourTracer& operator=(const ContourTracer&) = delete;

    [[nodiscard]] const RenderContext& context() const { return context_; }
    /// Traces an eye ray through a raster position.
    void trace(float x, float y, ContourSample& sample);
    /// The hits of the lowest level between which the contrast shader wants a line.
    [[nodiscard]] std::optional<ContourPair> contrast(ContourSample& a, ContourSample& b);
    /// The point of the line between two samples that contrast; nothing where no contour shader wants one.
    [[nodiscard]] std::optional<miContour_endpoint> crossing(const ContourSample& a, const ContourSample& b);

    void shaded(miState* state, miColor& result) override;

private:
    /// A call of contour shaders on the way.
    struct LineCall {
        std::uint64_t path; ///< of the nearer hit
        miTag shaders;
        void *near, *far;
        miContour_endpoint endpoint;
        bool delivered = false;
    };

    [[nodiscard]] bool differ(void* a, void* b, int level);
    [[nodiscard]] bool isNearer(const ContourHit* a, const ContourHit* b) const;
    [[nodiscard]] miTag shadersOf(const ContourHit& hit) const;

    RenderContext& context_;
    ContourSample* sample_ = nullptr; // being traced
    LineCall* line_ = nullptr;
    std::array<ContourSample, 4> own_; // of `crossing`
};

} // namespace orca::render

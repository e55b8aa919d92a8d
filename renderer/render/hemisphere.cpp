// SPDX-License-Identifier: Apache-2.0
#include "render/hemisphere.h"

#include "render/orthonormal_basis.h"
#include "render/surface_state.h"
#include "render/visible.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

constexpr int defaultOcclusionRays = 64;

/// Marks everything below as a gather: no image sample, no passes.
class GatherScope {
public:
    explicit GatherScope(RenderContext& context)
        : context_(context), phase_(context.samplePhase), state_(context.gatherState) {
        context.samplePhase = 2;
        context.gatherState = 1;
        ++context.gatherDepth;
    }
    ~GatherScope() {
        context_.samplePhase = phase_;
        context_.gatherState = state_;
        --context_.gatherDepth;
    }
    GatherScope(const GatherScope&) = delete;
    GatherScope& operator=(const GatherScope&) = delete;

private:
    RenderContext& context_;
    int phase_, state_;
};

/// Cosine-weighted direction about the basis' z, no farther from it than `minimumCosine`.
miVector cosineDirection(const OrthonormalBasis& basis, float u, float v, float minimumCosine) {
    const float radius = std::sqrt(u * (1.0f - minimumCosine * minimumCosine));
    const float angle = 2.0f * std::numbers::pi_v<float> * v;
    const float x = radius * std::cos(angle);
    const float y = radius * std::sin(angle);
    const float z = std::sqrt(std::max(0.0f, 1.0f - radius * radius));
    miVector d = basis.combine(x, y, z);
    mi_vector_normalize(&d);
    return d;
}

} // namespace

miBoolean averageRadiance(miColor& result, miState* state, char face, const miIrrad_options* options) {
    RenderContext& context = renderContextOf(state);
    const miOptions& settings = context.frame.options;
    result = {};
    if (!settings.finalgather || !settings.trace || context.depth >= maxNesting ||
        context.gatherDepth >= std::max(1, settings.finalgather_diffuse_depth))
        return miFALSE;
    const int rays =
        options && options->finalgather_rays > 0 ? options->finalgather_rays : settings.finalgather_rays;
    if (rays < 1) return miFALSE;

    miVector axis = state->normal;
    if (face == 'b') mi_vector_neg(&axis);
    const OrthonormalBasis around = basisAbout(axis);
    const std::uint32_t key = context.sampler.nextKey();
    const GatherScope scope(context);
    miColor sum{};
    for (int i = 0; i < rays; ++i) {
        const auto point = static_cast<std::uint32_t>(i);
        const auto count = static_cast<std::uint32_t>(rays);
        const miVector direction = cosineDirection(around, context.sampler.coordinate(key, point, count, 0),
                                                   context.sampler.coordinate(key, point, count, 1), 0.0f);
        // A bumped normal's hemisphere reaches below the surface, where nothing arrives.
        miVector outward = state->normal_geom;
        if (face == 'b') mi_vector_neg(&outward);
        if (mi_vector_dot(&direction, &outward) <= 0.0f) continue;
        ++context.counts.gather;
        ChildState child(context, state, miRAY_FINALGATHER);
        child->org = state->point;
        child->dir = direction;
        miColor radiance;
        if (shadeVisibleRay(context, child,
                            rayFrom(context, *state, state->point, direction, geometry::RayClass::Gather),
                            radiance)) {
            sum.r += radiance.r;
            sum.g += radiance.g;
            sum.b += radiance.b;
        }
    }
    const float scale = 1.0f / static_cast<float>(rays);
    result = {sum.r * scale, sum.g * scale, sum.b * scale, 1.0f};
    return miTRUE;
}

miBoolean irradiance(miColor& result, miState* state, char face) {
    const miBoolean gathered = averageRadiance(result, state, face, nullptr);
    result.r *= std::numbers::pi_v<float>;
    result.g *= std::numbers::pi_v<float>;
    result.b *= std::numbers::pi_v<float>;
    return gathered;
}

miBoolean ambientOcclusion(miScalar& result, miState* state, const miAo_options* request) {
    RenderContext& context = renderContextOf(state);
    result = 0.0f;
    if (!context.frame.options.trace) return miFALSE;
    const int rays = request && request->rays > 0 ? request->rays : defaultOcclusionRays;
    miVector axis = request ? request->axis : state->normal;
    mi_vector_normalize(&axis);
    if (mi_vector_norm(&axis) == 0.0f) return miFALSE;
    const OrthonormalBasis around = basisAbout(axis);
    const float minimumCosine = request && request->spread >= 0.0f ? std::min(request->spread, 1.0f) : 0.0f;
    const std::uint32_t key = context.sampler.nextKey();

    int covered = 0;
    for (int i = 0; i < rays; ++i) {
        const auto point = static_cast<std::uint32_t>(i);
        const auto count = static_cast<std::uint32_t>(rays);
        const miVector direction =
            cosineDirection(around, context.sampler.coordinate(key, point, count, 0),
                            context.sampler.coordinate(key, point, count, 1), minimumCosine);
        if (mi_vector_dot(&direction, &state->normal_geom) <= 0.0f) {
            ++covered;
            continue;
        }
        geometry::Ray ray = rayFrom(context, *state, state->point, direction, geometry::RayClass::Gather);
        if (request && request->near_dist > 0.0f) ray.nearDistance = request->near_dist;
        if (request && request->max_dist > 0.0f) ray.farDistance = request->max_dist;
        ++context.counts.occlusion;
        if (context.frame.geometry.occluded(ray)) ++covered;
    }
    const float scale = request && request->scale > 0.0f ? request->scale : 1.0f;
    result = std::min(1.0f, scale * static_cast<float>(covered) / static_cast<float>(rays));
    return miTRUE;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/gather/occlusion.h"

#include "render/context/surface_state.h"
#include "render/gather/hemisphere.h"

#include <algorithm>

namespace orca::render {

namespace {

constexpr int defaultRays = 64;

/// A request with the renderer's defaults for what it leaves open.
struct Request {
    Request(const miState& state, const miAo_options* options) : axis(state.normal) {
        if (!options) return;
        axis = options->axis;
        if (options->rays > 0) rays = options->rays;
        if (options->spread > 0.0f) minimumCosine = std::min(options->spread, 1.0f);
        if (options->scale >= 0.0f) scale = options->scale;
        if (options->near_dist > 0.0f) nearDistance = options->near_dist;
        if (options->max_dist > 0.0f) farDistance = options->max_dist;
        fades = options->mode == miAO_FADING && std::isfinite(farDistance);
    }

    miVector axis;
    int rays = defaultRays;
    float minimumCosine = 0.0f; // of the cone of rays; 0: the hemisphere
    float scale = 1.0f;
    float nearDistance = 0.0f;
    float farDistance = std::numeric_limits<float>::infinity();
    bool fades = false; // occlusion falls off with distance
};

/// Occlusion of one direction, 0 to 1.
float covered(RenderContext& context, const miState& state, const Request& request,
              const miVector& direction) {
    if (mi_vector_dot(&direction, &state.normal_geom) <= 0.0f) return 1.0f;
    geometry::Ray ray = rayFrom(context, state, state.point, direction, geometry::RayClass::Gather);
    ray.nearDistance = request.nearDistance;
    ray.farDistance = request.farDistance;
    ++context.counts.occlusion;
    if (!request.fades) return context.frame.geometry.occluded(ray) ? 1.0f : 0.0f;
    geometry::Hit hit;
    return context.frame.geometry.intersect(ray, hit) ? 1.0f - hit.distance / request.farDistance : 0.0f;
}

} // namespace

miBoolean ambientOcclusion(miScalar& result, miState* state, const miAo_options* options) {
    RenderContext& context = renderContextOf(state);
    result = 0.0f;
    Request request(*state, options);
    mi_vector_normalize(&request.axis);
    if (!context.frame.options.trace || mi_vector_norm(&request.axis) == 0.0f) return miFALSE;

    const OrthonormalBasis around = basisAbout(request.axis);
    const std::uint32_t key = context.sampler.nextKey();
    const auto count = static_cast<std::uint32_t>(request.rays);
    const float largestSine2 = 1.0f - request.minimumCosine * request.minimumCosine;
    float sum = 0.0f;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sine = std::sqrt(largestSine2 * context.sampler.coordinate(key, i, count, 0));
        sum += covered(context, *state, request,
                       hemisphereDirection(around, sine, context.sampler.coordinate(key, i, count, 1)));
    }
    result = std::min(1.0f, request.scale * sum / static_cast<float>(count));
    return miTRUE;
}

} // namespace orca::render

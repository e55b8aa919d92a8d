// SPDX-License-Identifier: Apache-2.0
#include "render/gather/gather.h"

#include "geometry/mesh.h"
#include "render/gather/gather_cache.h"
#include "render/gather/gather_hemisphere.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

/// Marks a context as gathering for the scope's lifetime: no image sample, no passes.
class GatherScope {
public:
    GatherScope(RenderContext& context, const miState& state)
        : context_(context),
          phase_(context.samplePhase),
          state_(context.gatherState),
          reflectionBase_(context.gatherReflectionBase),
          refractionBase_(context.gatherRefractionBase) {
        context.gatherState = context.pendingGatherRecords ? 2 : 1;
        context.samplePhase = gatherPhase;
        context.gatherReflectionBase = state.reflection_level;
        context.gatherRefractionBase = state.refraction_level;
        ++context.gatherDepth;
    }
    ~GatherScope() {
        context_.samplePhase = phase_;
        context_.gatherState = state_;
        context_.gatherReflectionBase = reflectionBase_;
        context_.gatherRefractionBase = refractionBase_;
        --context_.gatherDepth;
    }
    GatherScope(const GatherScope&) = delete;
    GatherScope& operator=(const GatherScope&) = delete;

private:
    RenderContext& context_;
    int phase_, state_, reflectionBase_, refractionBase_;
};

/// Rays of a gather for this point alone: a sixteenth as many at each further bounce, where the rays of the
/// bounces before already vary. A point without records of the prepass takes an eighth: there are few, with
/// several samples close to each other.
int raysForOnePoint(int rays, int bounce, bool missed) {
    return std::max(1, rays >> std::min(4 * bounce + (missed ? 3 : 0), 30));
}

/// Rays of a record, which is interpolated at many points.
int raysForRecord(int rays, int bounce) {
    constexpr int fewestOfBounces = 8;
    return bounce == 0 ? rays : std::max(std::min(rays, fewestOfBounces), rays >> std::min(2 * bounce, 30));
}

/// Width of a pixel at a point, scene units.
float pixelSize(const RenderContext& context, const miVector& point) {
    const miCamera& camera = context.frame.camera;
    const float atFocal = camera.aperture / static_cast<float>(std::max(1, camera.x_resolution));
    if (camera.orthographic) return atFocal;
    miVector inCamera;
    mi_point_transform(&inCamera, &point, context.camera.fromWorld);
    return atFocal / camera.focal * mi_vector_norm(&inCamera);
}

/// How far a record of a bounce may serve.
RecordRange rangeOfRecord(const RenderContext& context, const miState& state, const miIrrad_options* options,
                          int bounce) {
    const Frame& frame = context.frame;
    const GatherSettings& settings = frame.gather;
    float most = settings.maxRadius;
    float least = settings.minRadius;
    bool pixels = settings.radiiInPixels;
    if (options && (options->finalgather_maxradius > 0.0f || options->finalgather_minradius > 0.0f)) {
        most = options->finalgather_maxradius;
        least = options->finalgather_minradius;
        pixels = options->finalgather_view != 0;
    }
    const float pixel = pixelSize(context, state.point);
    if (pixels) {
        most *= pixel;
        least *= pixel;
    }
    constexpr float shareOfScene = 0.06f;
    constexpr float shareOfSceneAtBounces = 0.02f;
    const miVector low = frame.geometry.boundsMin();
    const miVector high = frame.geometry.boundsMax();
    const miVector size{high.x - low.x, high.y - low.y, high.z - low.z};
    if (!(most > 0.0f)) most = shareOfScene * mi_vector_norm(&size);
    // A radius below the spacing of the prepass' points would leave gaps between the records.
    constexpr float spacings = 1.5f;
    const float slant = std::max(0.2f, std::abs(state.dot_nd));
    least = std::max(least, spacings * pixel * static_cast<float>(frame.gather.spacing) / slant);
    if (bounce > 0) least = std::max(least, shareOfSceneAtBounces * mi_vector_norm(&size));
    // A closer grid of points asks for closer records. At bounces the lookup itself reaches further than the
    // radius (bounceStrictness).
    const float scale =
        bounce > 0 ? bounceStrictness : std::sqrt(static_cast<float>(frame.gather.spacing) / 4.0f);
    return {std::min(least, most), most, scale};
}

bool isOnMovingSurface(const RenderContext& context, const miState& state) {
    if (!context.sampleMoving || state.hit_instance == geometry::nothing) return false;
    const geometry::MeshInstance& meshInstance = context.frame.meshInstances[state.hit_instance];
    return meshInstance.transformMoves || meshInstance.mesh->deforms();
}

} // namespace

miBoolean averageRadiance(miColor& result, miState* state, char face, const miIrrad_options* options) {
    RenderContext& context = renderContextOf(state);
    const Frame& frame = context.frame;
    const GatherSettings& settings = frame.gather;
    result = {};
    const int rays = settings.rays > 0 && options && options->finalgather_rays > 0 ? options->finalgather_rays
                                                                                   : settings.rays;
    const int bounce = context.gatherDepth;
    if (rays < 1 || bounce > settings.bounces || refusesRays(context)) return miFALSE;

    const bool back = face == 'b';
    miVector axis = state->normal;
    if (back) mi_vector_neg(&axis);
    // Records are for one time of the shutter; moving surfaces are somewhere else at the next sample's.
    const bool usesRecords = frame.gatherCaches && !isOnMovingSurface(context, *state);
    const auto found = [&](float strictness) {
        return frame.gatherCaches->of(bounce).find(state->point, axis, strictness, result);
    };
    PendingGatherRecords* const pending =
        usesRecords && bounce < GatherCaches::count ? context.pendingGatherRecords : nullptr;
    bool known = false;
    if (pending) {
        const float strictness = bounce == 0 ? prepassStrictness : bounceStrictness;
        known = found(strictness) || pending->find(bounce, state->point, axis, strictness, result);
    } else if (usesRecords) {
        known = (bounce == 0 && found(1.0f)) || found(bounceStrictness);
    }
    if (!known) {
        const GatherScope scope(context, *state);
        if (pending) {
            const GatherRecord record = gatherRecord(context, state, back, raysForRecord(rays, bounce),
                                                     rangeOfRecord(context, *state, options, bounce));
            pending->add(bounce, record);
            result = record.radiance;
        } else {
            result = gatherRadiance(context, state, back, raysForOnePoint(rays, bounce, usesRecords));
        }
    }
    const miColor& scale = bounce == 0 ? settings.scale : settings.secondaryScale;
    result = {result.r * scale.r, result.g * scale.g, result.b * scale.b, 1.0f};
    return miTRUE;
}

miBoolean irradiance(miColor& result, miState* state, char face) {
    const miBoolean gathered = averageRadiance(result, state, face, nullptr);
    result.r *= std::numbers::pi_v<float>;
    result.g *= std::numbers::pi_v<float>;
    result.b *= std::numbers::pi_v<float>;
    return gathered;
}

} // namespace orca::render

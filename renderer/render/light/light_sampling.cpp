// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_sampling.h"

#include "base/vectors.h"
#include "render/context/surroundings.h"
#include "render/light/light_chooser.h"
#include "render/light/light_profiles.h"
#include "render/light/light_shapes.h"
#include "render/light/mesh_emitters.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

struct SampleCounts {
    int u, v;
    [[nodiscard]] int total() const { return u * v; }
};

/// The lower counts also hold where the light of surfaces is gathered for lights that cost a shadow ray per
/// sample: a gather averages many rays.
SampleCounts countsAt(const RenderContext& context, const LightInstance& instance, const miState* state) {
    const miLight& light = *instance.light;
    const bool deep =
        light.low_level > 0 && state->reflection_level + state->refraction_level >= light.low_level;
    const bool low = deep || (context.gatherDepth > 0 && !instance.hasSurface());
    return {std::max(1, low ? light.low_samples_u : light.samples_u),
            std::max(1, low ? light.low_samples_v : light.samples_v)};
}

/// Of one sequence for all samples of a pixel. Its points are stratified into cells of any proportions, those
/// of each loop and those of all loops together; jittering the cells of a u x v grid with every so manieth
/// point of it would leave each cell a part of itself, the same in all loops of a pixel.
Place placeOfSample(const RenderContext& context, const SampleCounts& counts, int sample, std::uint32_t key) {
    const auto total = static_cast<std::uint32_t>(counts.total());
    const auto index = static_cast<std::uint32_t>(sample);
    return {context.sampler.coordinate(key, index, total, 0),
            context.sampler.coordinate(key, index, total, 1)};
}

/// The texture coordinates of a sample: its place, or those of the mesh where that has any.
std::vector<miVector>& placeTexture(ChildState& child, const Place& place) {
    std::vector<miVector>& coordinates = child.derived().textureCoordinates;
    std::fill(coordinates.begin(), coordinates.end(), miVector{0.0f, 0.0f, 0.0f});
    coordinates[0] = {place.u, place.v, 0.0f};
    child->tex_list = coordinates.data();
    return coordinates;
}

/// Internal space.
miVector originOnShape(const LightInstance& light, const Place& place) {
    const miVector offset = pointOfPlace(*light.light, place);
    miVector point;
    mi_vector_add(&point, &light.light->origin, &offset);
    mi_point_transform(&point, &point, light.record->tf.local_to_global);
    return point;
}

/// Above the mesh on the side of the illuminated point, so that the mesh itself does not block the sample's
/// shadow ray: by more than rays' origins are moved off surfaces.
miVector originOnMesh(const MeshEmitter& emitter, const Place& place, const miVector& illuminated,
                      miVector* textureCoordinates, EmitterPoint& point) {
    geometry::SurfacePoint surface;
    emitter.surfaceAt(place.u, place.v, surface, textureCoordinates);
    point = {surface.geometricNormal, emitter.area()};
    const miVector direction = illuminated - surface.point;
    const float largest =
        std::max({std::abs(illuminated.x), std::abs(illuminated.y), std::abs(illuminated.z)});
    const float clearance = 4e-5f * (largest + 0.5f) + 1e-5f * std::sqrt(dot(direction, direction));
    const float side = dot(direction, surface.geometricNormal) < 0.0f ? -1.0f : 1.0f;
    return surface.point + side * clearance * surface.geometricNormal;
}

/// What a light's shader can ask about its emitter, while it runs.
class EmitterScope {
public:
    EmitterScope(RenderContext& context, const EmitterPoint* point)
        : context_(context), before_(context.emitterPoint) {
        context.emitterPoint = point;
    }
    ~EmitterScope() { context_.emitterPoint = before_; }
    EmitterScope(const EmitterScope&) = delete;
    EmitterScope& operator=(const EmitterScope&) = delete;

private:
    RenderContext& context_;
    const EmitterPoint* before_;
};

/// Within a volume's ray light arrives at a point in the air, though the state is that of the surface at the
/// ray's end: shadow rays begin at the point itself and may meet that surface.
void leaveSurface(const RenderContext& context, miState& light) {
    if (context.callType != miSHADER_VOLUME || light.hit_instance == geometry::nothing) return;
    const miState& ray = *light.parent;
    const miVector end = ray.org + static_cast<float>(ray.dist) * ray.dir;
    constexpr float atTheEnd = 1e-5f; // of the ray's length and of how far it is from the origin
    const float tolerance =
        atTheEnd * (static_cast<float>(ray.dist) + std::abs(end.x) + std::abs(end.y) + std::abs(end.z));
    if (mi_vector_dist(&end, &light.point) <= tolerance) return;
    light.hit_instance = light.hit_triangle = geometry::nothing;
}

/// Sets the ray of a light state; false for points outside a spot's cone.
bool setLightRay(ChildState& child, const LightInstance& light, const miState* state,
                 const miVector& origin) {
    if (light.directional()) {
        child->dir = light.direction;
        child->dist = 0.0;
    } else {
        child->org = origin;
        mi_vector_sub(&child->dir, &state->point, &origin);
        const float distance = mi_vector_norm(&child->dir);
        mi_vector_div(&child->dir, distance);
        child->dist = distance;
        if (light.light->type == miLIGHT_SPOT &&
            mi_vector_dot(&child->dir, &light.direction) < light.light->spread)
            return false;
    }
    child->dot_nd = -mi_vector_dot(&child->dir, &state->normal);
    return true;
}

} // namespace

miBoolean sampleLight(miColor& result, miVector& direction, miScalar& cosine, miState* state,
                      miTag lightInstance, miInteger& samples, AreaSampling area) {
    RenderContext& context = renderContextOf(state);
    const LightInstance* light = context.frame.lights.of(lightInstance);
    if (!light || light->record->off || refusesRays(context)) return miFALSE;
    // Without area sampling, meshes and shapes of the shader's own are sampled once: they have no centre.
    const bool sampleArea = light->hasArea() && (area == AreaSampling::Full || !light->hasSurface());
    const SampleCounts counts =
        sampleArea && area == AreaSampling::Full ? countsAt(context, *light, state) : SampleCounts{1, 1};
    const MeshEmitter* const emitter =
        light->hasMesh() && context.frame.meshEmitters ? context.frame.meshEmitters->of(*light) : nullptr;
    if (light->hasMesh() && !emitter) return miFALSE;
    const float weight = lightWeight(context, lightInstance);
    std::uint32_t key = 0;
    if (sampleArea && samples < counts.total()) key = context.sampler.lightKey(&samples, samples == 0);

    while (samples < counts.total()) {
        const int sample = samples++;
        ChildState child(context, state, miRAY_LIGHT);
        child->light_instance = lightInstance;
        leaveSurface(context, *child.get());
        miVector origin = light->origin;
        EmitterPoint emitterPoint;
        if (sampleArea) {
            const Place place = placeOfSample(context, counts, sample, key);
            std::vector<miVector>& coordinates = placeTexture(child, place);
            if (emitter)
                origin = originOnMesh(*emitter, place, state->point, coordinates.data(), emitterPoint);
            else if (light->hasSurface()) origin = originOnShape(*light, place);
        }
        if (!setLightRay(child, *light, state, origin)) continue;

        const EmitterScope scope(context, emitter ? &emitterPoint : nullptr);
        ++context.counts.lightCalls;
        result = {};
        miBoolean delivered =
            context.runtime.call(&result, miSHADER_LIGHT, child.get(), light->light->shader);
        if (!delivered) continue;
        callVolume(context, child.get(), result, delivered);
        if (!delivered) continue;
        if (weight != 1.0f)
            result = {weight * result.r, weight * result.g, weight * result.b, weight * result.a};
        direction = {-child->dir.x, -child->dir.y, -child->dir.z};
        cosine = mi_vector_dot(&state->normal, &direction);
        return miTRUE;
    }
    return miFALSE;
}

miScalar sampleLightProfile(miState* state, miTag profile, miBoolean interpolate) {
    if (profile == miNULLTAG) return 1.0f;
    const Frame& frame = renderContextOf(state).frame;
    const LightInstance* light = frame.lights.of(state->light_instance);
    miVector direction = state->dir;
    if (light) mi_vector_transform(&direction, &state->dir, light->record->tf.global_to_local);
    return frame.lightProfiles.toward(profile, direction, interpolate != miFALSE);
}

} // namespace orca::render

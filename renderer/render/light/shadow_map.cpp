// SPDX-License-Identifier: Apache-2.0
#include "render/light/shadow_map.h"

#include "base/orthonormal_basis.h"
#include "base/parallel_for.h"
#include "geometry/ray_origin.h"
#include "geometry/scene_geometry.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include <unistd.h>

namespace orca::render {

namespace {

constexpr int defaultResolution = 512;
constexpr int defaultSoftSamples = 16;
constexpr float infinity = std::numeric_limits<float>::infinity();

miVector along(const miVector& from, const miVector& direction, float distance) {
    return {from.x + direction.x * distance, from.y + direction.y * distance,
            from.z + direction.z * distance};
}

int resolutionOf(const miLight& light) {
    return light.shadowmap_resolution > 0 ? light.shadowmap_resolution : defaultResolution;
}

/// Distance of the next surface that casts the light's shadows; infinity for none.
float nextDepth(const geometry::SceneGeometry& geometry, geometry::Ray& ray, miTag light) {
    geometry::Hit hit;
    while (geometry.intersect(ray, hit)) {
        geometry::advancePastHit(ray, hit);
        if (geometry.castsShadowOf(geometry.meshInstances()[hit.meshInstance], light)) return hit.distance;
    }
    return infinity;
}

} // namespace

std::uint64_t ShadowMap::bytesNeeded(const miLight& light) {
    const auto resolution = static_cast<std::uint64_t>(resolutionOf(light));
    return resolution * resolution * sizeof(float) * (light.type == miLIGHT_ORIGIN ? 6 : 1);
}

ShadowMap::ShadowMap(const geometry::SceneGeometry& geometry, const LightInstance& light, float defaultBias,
                     const std::atomic<bool>* stop)
    : light_(light),
      resolution_(resolutionOf(*light.light)),
      bias_(light.light->shadowmap_bias > 0.0f ? light.light->shadowmap_bias : defaultBias),
      halfWidth_(1.0f),
      origin_(light.origin),
      directional_(light.directional()) {
    const auto addFace = [&](const miVector& forward) {
        const OrthonormalBasis basis = basisAbout(forward);
        faces_.push_back({basis.x, basis.y, forward,
                          std::vector<float>(static_cast<std::size_t>(resolution_) *
                                             static_cast<std::size_t>(resolution_))});
    };
    if (light.light->type == miLIGHT_ORIGIN) {
        for (const miVector& forward : {miVector{1, 0, 0}, miVector{-1, 0, 0}, miVector{0, 1, 0},
                                        miVector{0, -1, 0}, miVector{0, 0, 1}, miVector{0, 0, -1}})
            addFace(forward);
    } else {
        addFace(light.direction);
        if (directional_) {
            const miVector low = geometry.boundsMin();
            const miVector high = geometry.boundsMax();
            const miVector middle{(low.x + high.x) / 2, (low.y + high.y) / 2, (low.z + high.z) / 2};
            halfWidth_ = std::max(mi_vector_dist(&low, &high) / 2 * 1.001f, 1e-6f);
            origin_ = along(middle, light.direction, -halfWidth_);
        } else {
            constexpr float widest = 0.05f; // cosine; wider cones are cut off at the square's edge
            const float cosine = std::clamp(light.light->spread, widest, 0.99999f);
            halfWidth_ = std::sqrt(1.0f - cosine * cosine) / cosine;
        }
    }
    for (Face& face : faces_)
        parallelFor(static_cast<std::size_t>(resolution_), 4, [&](std::size_t first, std::size_t last) {
            for (std::size_t row = first; row < last; ++row) {
                if (stop && stop->load(std::memory_order_relaxed)) return;
                fill(geometry, face, static_cast<int>(row));
            }
        });
}

void ShadowMap::fill(const geometry::SceneGeometry& geometry, Face& face, int row) const {
    const float texel = 2.0f * halfWidth_ / static_cast<float>(resolution_);
    const float v = (static_cast<float>(row) + 0.5f) * texel - halfWidth_;
    for (int column = 0; column < resolution_; ++column) {
        const float u = (static_cast<float>(column) + 0.5f) * texel - halfWidth_;
        const miVector offset = along(along({0, 0, 0}, face.right, u), face.up, v);
        geometry::Ray ray;
        ray.rayClass = geometry::RayClass::Shadow;
        if (directional_) {
            ray.origin = along(origin_, offset, 1.0f);
            ray.direction = face.forward;
        } else {
            ray.origin = origin_;
            ray.direction = along(face.forward, offset, 1.0f);
            mi_vector_normalize(&ray.direction);
        }
        float& depth = face.depths[static_cast<std::size_t>(row) * static_cast<std::size_t>(resolution_) +
                                   static_cast<std::size_t>(column)];
        depth = nextDepth(geometry, ray, light_.instance);
        if (bias_ > 0.0f) depth += bias_;
        else if (std::isfinite(depth)) depth = 0.5f * (depth + nextDepth(geometry, ray, light_.instance));
    }
}

bool ShadowMap::project(const miVector& point, Projected& result) const {
    miVector fromLight;
    mi_vector_sub(&fromLight, &point, &origin_);
    result.face = 0;
    if (faces_.size() > 1) {
        const float x = std::abs(fromLight.x);
        const float y = std::abs(fromLight.y);
        const float z = std::abs(fromLight.z);
        if (x >= y && x >= z) result.face = fromLight.x > 0 ? 0 : 1;
        else if (y >= z) result.face = fromLight.y > 0 ? 2 : 3;
        else result.face = fromLight.z > 0 ? 4 : 5;
    }
    const Face& face = faces_[static_cast<std::size_t>(result.face)];
    const float forward = mi_vector_dot(&fromLight, &face.forward);
    if (!directional_ && !(forward > 0.0f)) return false;
    const float scale =
        static_cast<float>(resolution_) / (2.0f * halfWidth_ * (directional_ ? 1.0f : forward));
    const float half = 0.5f * static_cast<float>(resolution_);
    result.x = mi_vector_dot(&fromLight, &face.right) * scale + half;
    result.y = mi_vector_dot(&fromLight, &face.up) * scale + half;
    result.depth = directional_ ? forward : mi_vector_norm(&fromLight);
    const float size = static_cast<float>(resolution_);
    return result.x >= 0.0f && result.y >= 0.0f && result.x <= size && result.y <= size;
}

/// Percentage-closer filtering over the four nearest texels, weighted bilinearly (W. Reeves, D. Salesin and
/// R. Cook, "Rendering Antialiased Shadows with Depth Maps", 1987).
float ShadowMap::compare(const Projected& point) const {
    const Face& face = faces_[static_cast<std::size_t>(point.face)];
    const float left = std::floor(point.x - 0.5f);
    const float low = std::floor(point.y - 0.5f);
    const float fx = point.x - 0.5f - left;
    const float fy = point.y - 0.5f - low;
    float sum = 0.0f;
    for (int dy = 0; dy < 2; ++dy)
        for (int dx = 0; dx < 2; ++dx) {
            const int x = std::clamp(static_cast<int>(left) + dx, 0, resolution_ - 1);
            const int y = std::clamp(static_cast<int>(low) + dy, 0, resolution_ - 1);
            const float depth =
                face.depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(resolution_) +
                            static_cast<std::size_t>(x)];
            if (point.depth <= depth) sum += (dx ? fx : 1.0f - fx) * (dy ? fy : 1.0f - fy);
        }
    return sum;
}

float ShadowMap::lit(const miVector& point) const {
    Projected projected;
    const float softness = light_.light->shadowmap_softness;
    if (!(softness > 0.0f)) return project(point, projected) ? compare(projected) : 1.0f;

    // A disc perpendicular to the light's direction, its points on a spiral of equal areas (H. Vogel, "A
    // Better Way to Construct the Sunflower Head", 1979).
    miVector axis = light_.direction;
    if (!directional_) {
        mi_vector_sub(&axis, &point, &origin_);
        mi_vector_normalize(&axis);
    }
    const OrthonormalBasis basis = basisAbout(axis);
    const int samples =
        light_.light->shadowmap_samples > 0 ? light_.light->shadowmap_samples : defaultSoftSamples;
    constexpr float goldenAngle = std::numbers::pi_v<float> * 0.763932022f;
    float sum = 0.0f;
    for (int i = 0; i < samples; ++i) {
        const float r = softness * std::sqrt((static_cast<float>(i) + 0.5f) / static_cast<float>(samples));
        const float angle = goldenAngle * static_cast<float>(i);
        const miVector discPoint =
            along(along(point, basis.x, r * std::cos(angle)), basis.y, r * std::sin(angle));
        sum += project(discPoint, projected) ? compare(projected) : 1.0f;
    }
    return sum / static_cast<float>(samples);
}

ShadowMaps::ShadowMaps(const geometry::SceneGeometry& geometry, const LightInstances& lights,
                       const scene::OptionsElement& options, int threads, const std::atomic<bool>* stop,
                       Log& log) {
    if (!options.options.use_shadow_maps) return;
    const auto memory = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    std::uint64_t taken = 0;
    const auto hasPlace = [&](const LightInstance& light) {
        if (!light.choosesPlaces() && !light.hasMesh()) return true;
        log.warningAt(light.element->location, "RNDR",
                      "light \"{}\": there are no shadow maps of lights with the shapes user and object; its "
                      "shadows are traced",
                      light.element->name);
        return false;
    };
    const auto fits = [&](const LightInstance& light) {
        const std::uint64_t needed = ShadowMap::bytesNeeded(*light.light);
        if (taken + needed < memory) {
            taken += needed;
            return true;
        }
        log.errorAt(light.element->location, "RNDR",
                    "light \"{}\": a shadow map of {} x {} takes {:.1f} GB, more memory than there is; its "
                    "shadows are traced, give it a lower \"shadowmap resolution\"",
                    light.element->name, resolutionOf(*light.light), resolutionOf(*light.light),
                    static_cast<double>(needed) * 1e-9);
        return false;
    };
    const tbb::global_control parallelism(tbb::global_control::max_allowed_parallelism,
                                          static_cast<std::size_t>(threads));
    tbb::task_arena arena(threads);
    arena.execute([&] {
        for (const LightInstance& light : lights.all())
            if (light.light->use_shadow_maps && hasPlace(light) && fits(light))
                maps_.emplace_back(light.instance, ShadowMap(geometry, light, options.shadowMapBias, stop));
    });
}

} // namespace orca::render

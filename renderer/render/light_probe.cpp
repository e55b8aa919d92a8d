// SPDX-License-Identifier: Apache-2.0
#include "render/light_probe.h"

#include "base/orthonormal_basis.h"
#include "base/vectors.h"
#include "render/camera/state_shaders.h"
#include "render/light/light_sampling.h"
#include "render/light/mesh_emitters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace orca::render {

namespace {

using Kind = LightCluster::Kind;

constexpr float pi = std::numbers::pi_v<float>;
constexpr float degree = pi / 180.0f;
constexpr int samplesOfAnArea = 16;  // of each answer; the mean is only an estimate
constexpr float meanFacing = 0.25f;  // of max(0, cosine) over all directions
constexpr float flat = 1.5f;         // largest over smallest of a strength that counts as the same
constexpr float evenly = 0.2f;       // length of the mean direction of a light that shines to all sides
constexpr float fullStrength = 0.9f; // over that on the axis
constexpr float noStrength = 0.02f;  // likewise
constexpr float angleStep = 15 * degree;

/// Distances in which a light is looked for, one after the other: small ones reach no farther than a few.
constexpr std::array<std::size_t, 6> looksAt = {4, 6, 8, 10, 2, 0};

/// Of the faces and the corners of a cube.
constexpr std::array<miVector, 14> aroundCube = {{{0, 0, -1},
                                                  {0, 0, 1},
                                                  {1, 0, 0},
                                                  {-1, 0, 0},
                                                  {0, 1, 0},
                                                  {0, -1, 0},
                                                  {1, 1, 1},
                                                  {1, 1, -1},
                                                  {1, -1, 1},
                                                  {1, -1, -1},
                                                  {-1, 1, 1},
                                                  {-1, 1, -1},
                                                  {-1, -1, 1},
                                                  {-1, -1, -1}}};

float largestChannel(const miColor& color) {
    const float largest = std::max({std::abs(color.r), std::abs(color.g), std::abs(color.b)});
    return std::isfinite(largest) ? largest : 0.0f;
}

/// Directions of light space in internal space, unit.
std::array<miVector, 14> directionsOf(const LightInstance& light) {
    std::array<miVector, 14> directions;
    std::transform(aroundCube.begin(), aroundCube.end(), directions.begin(), [&](const miVector& v) {
        return normalized(transformVector(v, light.record->tf.local_to_global));
    });
    if (light.light->type == miLIGHT_SPOT) directions[0] = light.direction;
    return directions;
}

/// The mean of some places of an emitting mesh; else the light's own place.
miVector centreOf(RenderContext& context, const LightInstance& light) {
    const MeshEmitter* const emitter =
        light.hasMesh() && context.frame.meshEmitters ? context.frame.meshEmitters->of(light) : nullptr;
    if (!emitter) return light.origin;
    miVector sum{};
    constexpr int places = 4; // each way
    for (int i = 0; i < places * places; ++i) {
        const auto u = static_cast<float>(i % places), v = static_cast<float>(i / places);
        geometry::SurfacePoint surface;
        emitter->surfaceAt((u + 0.5f) / places, (v + 0.5f) / places, surface, context.base.tex_list);
        sum = sum + surface.point;
    }
    return (1.0f / (places * places)) * sum;
}

} // namespace

LightProbe::LightProbe(const Frame& frame, float farthest) : context_(frame, 0), farthest_(farthest) {
    openBaseState(context_);
    context_.seesThroughOccluders = true;
}

LightProbe::~LightProbe() {
    closeBaseState(context_);
}

LightProbe::Answer LightProbe::ask(const LightInstance& light, const miVector& point,
                                   const miVector& normal) {
    Answer answer{};
    context_.resetBase();
    miState& state = context_.base;
    state.point = point;
    state.normal = state.normal_geom = normal;
    state.dir = -1.0f * normal;
    state.org = point + normal;
    state.dot_nd = -1.0f;
    shading::withoutShaderExceptions(context_, [&] {
        miColor color;
        miScalar cosine;
        miInteger samples = 0;
        int count = 0;
        while (count < samplesOfAnArea && sampleLight(color, answer.toward, cosine, &state, light.instance,
                                                      samples, AreaSampling::Full)) {
            ++count;
            answer.strength += (largestChannel(color) - answer.strength) / static_cast<float>(count);
            answer.isFromAfar = state.child && state.child->dist == 0.0;
        }
    });
    return answer;
}

float LightProbe::strengthAt(const LightInstance& light, const miVector& centre, const miVector& direction,
                             float distance) {
    return ask(light, centre + distance * direction, -1.0f * direction).strength;
}

LightCluster LightProbe::measureFromAfar(const LightInstance& light) {
    const geometry::SceneGeometry& geometry = context_.frame.geometry;
    const miVector middle = 0.5f * (geometry.boundsMin() + geometry.boundsMax());
    const Answer answer = ask(light, middle, -1.0f * light.direction);
    LightCluster cluster{Kind::Everywhere, middle, middle, LightCone::everyDirection(), {}, 1};
    cluster.falloff[0] = answer.strength;
    if (light.directional()) {
        cluster.kind = Kind::Directed;
        cluster.cone = LightCone(-1.0f * answer.toward, 0.0f, 0.0f);
    } else {
        cluster.falloff[0] *= meanFacing;
    }
    return cluster;
}

/// Where the strength ends along one great circle through the mean direction.
LightCone LightProbe::measureCone(const LightInstance& light, const miVector& centre, float distance) {
    miVector mean{};
    float sum = 0.0f;
    for (const miVector& direction : directionsOf(light)) {
        const float strength = strengthAt(light, centre, direction, distance);
        mean = mean + strength * direction;
        sum += strength;
    }
    if (!(dot(mean, mean) > evenly * evenly * sum * sum)) return LightCone::everyDirection();
    const OrthonormalBasis basis = basisAbout(normalized(mean));
    const float onAxis = strengthAt(light, centre, basis.z, distance);
    float spread = 0.0f, end = pi;
    bool isFull = true;
    for (float angle = angleStep; angle < pi; angle += angleStep) {
        const miVector direction = basis.combine(std::sin(angle), 0.0f, std::cos(angle));
        const float strength = strengthAt(light, centre, direction, distance);
        isFull = isFull && strength >= fullStrength * onAxis;
        if (isFull) spread = angle;
        if (strength > noStrength * onAxis) continue;
        end = angle;
        break;
    }
    return {basis.z, spread, std::clamp(end - spread, angleStep, pi / 2)};
}

LightCluster LightProbe::measure(const LightInstance& light) {
    context_.sampler.startSample(context_.frame.seed, 0, 0, 0);
    if (light.directional()) return measureFromAfar(light);
    const miVector centre = centreOf(context_, light);
    if (light.choosesPlaces() && ask(light, centre, {0.0f, 1.0f, 0.0f}).isFromAfar)
        return measureFromAfar(light);

    LightCluster cluster{Kind::Placed, centre, centre, LightCone::everyDirection(), {}, 1};
    float seenAt = 0.0f;
    miVector brightest = light.direction;
    for (const std::size_t look : looksAt) {
        const float distance = LightFalloff::distance(look, farthest_);
        float most = 0.0f;
        for (const miVector& direction : directionsOf(light)) {
            const float strength = strengthAt(light, centre, direction, distance);
            if (strength <= most) continue;
            most = strength;
            brightest = direction;
        }
        seenAt = distance;
        if (most > 0.0f) break;
    }
    cluster.cone = measureCone(light, centre, seenAt);
    const bool hasAxis = cluster.cone.spread < pi;
    const miVector direction = hasAxis ? cluster.cone.axis : brightest;
    for (std::size_t i = 0; i < LightFalloff::distances; ++i)
        cluster.falloff[i] = strengthAt(light, centre, direction, LightFalloff::distance(i, farthest_));
    if (!hasAxis && cluster.falloff.largest() < flat * cluster.falloff.smallest())
        cluster.kind = Kind::Everywhere;
    return cluster;
}

std::vector<LightCluster> measureLights(const Frame& frame, float farthest) {
    std::vector<LightCluster> clusters;
    LightProbe probe(frame, farthest);
    float largest = 0.0f;
    for (const LightInstance& light : frame.lights.all()) {
        clusters.push_back(probe.measure(light));
        largest = std::max(largest, clusters.back().falloff.largest());
    }
    constexpr float unseen = 1e-3f; // over the strongest light
    const float least = largest > 0.0f ? largest : 1.0f;
    for (LightCluster& cluster : clusters) {
        const float own = cluster.falloff.largest();
        cluster.falloff.raiseTo(unseen * (own > 0.0f ? own : least));
    }
    return clusters;
}

} // namespace orca::render

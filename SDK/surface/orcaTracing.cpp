// SPDX-License-Identifier: Apache-2.0
#include "orcaTracing.h"

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaLevelSlots.h"
#include "orcaRenderPassUtilities.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// How far, in cosine, directions are kept above the geometric surface.
constexpr float surfaceClearance = 0.0015f;

bool belowLimits(const miState* state, RayKind kind, int materialLimit) {
    const miOptions& options = *state->options;
    const int level = kind == RayKind::Reflection ? state->reflection_level : state->refraction_level;
    const int depth = kind == RayKind::Reflection ? options.reflection_depth : options.refraction_depth;
    return options.trace && level < std::min(depth, materialLimit) && traceLevel(state) < options.trace_depth;
}

miColor environmentLight(miState* state, const SecondaryRay& ray, const TraceContext& context) {
    if (!ray.surroundings) return BLACK;
    miColor light = BLACK;
    miVector direction = ray.direction;
    if (!mi_trace_environment(&light, state, &direction)) return BLACK;
    light *= ray.weight * ray.surroundingsShare;
    addUnhandedLight(state, *context.passes, ray.kind == RayKind::Refraction, light);
    return light;
}

/// Transmittance of the inside along the state's most recent ray (Beer-Lambert law).
miColor transmittance(const miState* state, const miColor& absorbance) {
    const miState* const hit = state->child;
    if (!anyAbove(absorbance, 0.0f) || !hit || hit->instance == miNULLTAG) return WHITE;
    const auto along = [&](float channel) {
        return channel > 0.0f ? std::exp(-channel * static_cast<float>(hit->dist)) : 1.0f;
    };
    return {along(absorbance.r), along(absorbance.g), along(absorbance.b), 1.0f};
}

/// The state's most recent ray met a surface.
bool metSurface(const miState* state) {
    return state->child && state->child->instance != miNULLTAG;
}

/// Weight of what the state's most recent ray brought, which met a lamp or nothing.
float shareOfNoSurface(const miState* state, const SecondaryRay& ray) {
    const miTag lamp = state->child ? state->child->light_instance : miNULLTAG;
    if (lamp == miNULLTAG) return ray.surroundingsShare;
    return ray.counted && ray.counted->has(lamp) ? 0.0f : 1.0f;
}

/// Rays of a cone at the state's level: a quarter as many at each further level, where the rays already
/// diverge, so that blurred surfaces facing one another do not multiply their rays.
miUint raysOfCone(const miState* state, int samples) {
    const int halvings = std::min(2 * traceLevel(state), 30);
    return static_cast<miUint>(std::max(1, samples >> halvings));
}

/// Mean over a cone of rays about the given one, stratified over its base; one sharp ray for an angle of 0.
miColor conedLight(miState* state, SecondaryRay ray, float halfAngle, int samples,
                   const TraceContext& context) {
    if (halfAngle <= 0.0f || samples < 2) return traceSecondaryRay(state, ray, context);

    const miVector axis = ray.direction;
    miVector u, v;
    orthonormalBasis(axis, u, v);
    const float radius = std::tan(std::min(halfAngle, 1.5f));
    const miUint count = raysOfCone(state, samples);
    ray.weight *= 1.0f / static_cast<float>(count);
    // Directions of a wide cone beyond the surface are mirrored back.
    const miVector side = ray.kind == RayKind::Reflection ? state->normal_geom : -state->normal_geom;

    miColor light = BLACK;
    double point[2];
    int instance = 0;
    while (mi_sample(point, &instance, state, 2, &count)) {
        const float r = radius * std::sqrt(static_cast<float>(point[0]));
        const float angle = static_cast<float>(2.0 * std::numbers::pi * point[1]);
        const miVector direction = normalized(axis + u * (r * std::cos(angle)) + v * (r * std::sin(angle)));
        ray.direction = aboveSurface(direction - side * (2.0f * std::min(0.0f, dot(direction, side))), side);
        light += traceSecondaryRay(state, ray, context);
    }
    return light;
}

/// Light of one refractive index through the surface of a solid, times `passing`.
miColor refractedLight(miState* state, const miColor& passing, float index,
                       const RefractionSettings& settings, const TraceContext& context) {
    const bool leaving = state->inv_normal != 0;
    const miColor absorbance = WHITE * settings.absorbance;
    SecondaryRay ray{RayKind::Refraction, {}, passing, settings.limit, leaving ? BLACK : absorbance};
    if (!refractedDirection(ray.direction, state->dir, state->normal, leaving ? index : 1.0f / index)) {
        // The reflected ray stays inside.
        ray.kind = RayKind::Reflection;
        ray.direction = aboveSurface(context.mirror, state->normal_geom);
        ray.absorbance = leaving ? absorbance : BLACK;
        return traceSecondaryRay(state, ray, context);
    }
    return conedLight(state, ray, settings.blur, settings.blurSamples, context);
}

/// Light through a pane: its two faces are parallel, so the ray keeps its direction and continues where it
/// exits the pane.
miColor paneLight(miState* state, const miColor& passing, float index, const RefractionSettings& settings,
                  const TraceContext& context) {
    miVector inside;
    if (!refractedDirection(inside, state->dir, state->normal, 1.0f / index)) inside = state->dir;
    const float cosine = std::max(surfaceClearance, -dot(inside, state->normal));
    const float length = settings.thickness / cosine;
    const miColor weight =
        withAlpha(passing * std::exp(-std::max(0.0f, settings.absorbance) * length), passing.a);
    const Restored<miVector> point(state->point);
    state->point = state->point + inside * length;
    const SecondaryRay ray{RayKind::Refraction, state->dir, weight, settings.limit, BLACK};
    return conedLight(state, ray, settings.blur, settings.blurSamples, context);
}

} // namespace

miColor traceSecondaryRay(miState* state, const SecondaryRay& ray, const TraceContext& context) {
    if (!belowLimits(state, ray.kind, ray.limit)) return environmentLight(state, ray, context);

    VelabaseState& vela = *context.vela;
    const PassRecords& passes = *context.passes;
    const Restored<miColor> throughput(vela.throughput);
    vela.throughput *= ray.weight;

    tracePassInit(passes.count, passes.records, state);
    const miUint shadedBefore = vela.surfacesShaded;
    miColor light = BLACK;
    miVector direction = ray.direction;
    const bool found = ray.kind == RayKind::Reflection ? mi_trace_reflection(&light, state, &direction)
                                                       : mi_trace_refraction(&light, state, &direction);
    miColor weight = withAlpha(ray.weight * transmittance(state, ray.absorbance), ray.weight.a);
    if (!metSurface(state)) weight *= shareOfNoSurface(state, ray);
    if (!found) light = BLACK;
    else if (!ray.surroundings && !metSurface(state)) light = weight = BLACK;
    const bool isRefraction = ray.kind == RayKind::Refraction;
    if (vela.surfacesShaded == shadedBefore)
        addUnhandedLight(state, passes, isRefraction, withoutVolumeLight(light, vela, state->child) * weight);
    light *= weight;
    addTraced(state, vela, passes, isRefraction, weight);
    return light;
}

miVector aboveSurface(const miVector& direction, const miVector& geometricNormal) {
    const float cosine = dot(direction, geometricNormal);
    if (cosine >= surfaceClearance) return direction;
    return normalized(direction + geometricNormal * (surfaceClearance - cosine));
}

bool refractedDirection(miVector& result, const miVector& incoming, const miVector& n, miScalar eta) {
    const float cosine = -dot(n, incoming);
    const float squared = 1.0f - eta * eta * (1.0f - cosine * cosine);
    if (squared < 0.0f) return false;
    result = normalized(incoming * eta + n * (eta * cosine - std::sqrt(squared)));
    return true;
}

void addUnhandedLight(miState* state, const PassRecords& passes, bool isRefraction, const miColor& light) {
    if (!passes || traceLevel(state) > state->options->trace_depth) return;
    for (const FrameBufferInfo& record : passes.of(PASS_BEAUTY)) {
        const unsigned char rayMode = boundedLevelMode(record, state->reflection_level + !isRefraction,
                                                       state->refraction_level + isRefraction);
        if (rayMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) continue;
        TraceLevelSlot& slot = record.levelSlots[traceLevel(state)];
        const bool onlyOnRequest =
            (slot.levelMode & TraceLevelSlot::LEVEL_MODE_MASK) == TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
        const unsigned wanted = isRefraction ? FB_INCLUDE_REFRACTION : FB_INCLUDE_REFLECTION;
        if (onlyOnRequest && !(record.flags & wanted)) continue;
        slot.levelResult += light;
    }
}

miColor compute_refraction(miColor* transparency, const RefractionSettings& settings, bool on, miState* state,
                           const TraceContext& context) {
    const miColor passing = withAlpha(*transparency, 1.0f);
    *transparency = withAlpha(passing, luminance(passing));
    if (!on || !anyAbove(passing, 0.0f)) return BLACK;
    *transparency = BLACK;

    const float index = settings.refractiveIndex > 0.0f ? settings.refractiveIndex : 1.0f;
    if (settings.thickness > 0.0f) return paneLight(state, passing, index, settings, context);
    if (settings.chromaticAberration == 0.0f) return refractedLight(state, passing, index, settings, context);

    // A ray for each primary colour that the path still carries: once split, a path does not split again.
    miColor light = BLACK;
    const miColor carried = passing * context.vela->throughput;
    const float halfSpread = 0.5f * settings.chromaticAberration * (index - 1.0f);
    const miColor primaries[] = {
        {passing.r, 0.0f, 0.0f, 1.0f}, {0.0f, passing.g, 0.0f, 1.0f}, {0.0f, 0.0f, passing.b, 1.0f}};
    const float shares[] = {carried.r, carried.g, carried.b};
    for (int i = 0; i < 3; ++i)
        if (shares[i] > 0.0f)
            light += refractedLight(state, primaries[i],
                                    std::max(0.01f, index + static_cast<float>(i - 1) * halfSpread), settings,
                                    context);
    return light;
}

miColor compute_reflection(const miColor& reflectivity, const ReflectionSettings& settings, miState* state,
                           const TraceContext& context) {
    if (!anyAbove(reflectivity, 0.0f)) return BLACK;
    const SecondaryRay ray{RayKind::Reflection,
                           aboveSurface(context.mirror, state->normal_geom),
                           withAlpha(reflectivity, 1.0f),
                           settings.limit,
                           BLACK,
                           settings.surroundings};
    return conedLight(state, ray, settings.blur, settings.blurSamples, context);
}

// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanRefraction.h"

#include "orcaColor.h"
#include "orcaGathering.h"
#include "orcaGuards.h"
#include "orcaLevelSlots.h"
#include "orcaRenderPassUtilities.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// Which side of the surface the light arrives from.
enum class Side { Refracted, Reflected };

float signOf(Side side) {
    return side == Side::Refracted ? 1.0f : -1.0f;
}

/// The ideal direction, and what all samples around it share.
struct Cone {
    Side side;
    miVector axis;
    bool inWater; // the rays
};

Cone coneOf(miState* state, const miVector& mirror, float refractiveIndex) {
    const bool leaving = state->inv_normal != 0;
    const float index = refractiveIndex > 0.0f ? refractiveIndex : 1.0f;
    Cone cone{Side::Refracted, {}, !leaving};
    if (!refractedDirection(cone.axis, state->dir, state->normal, leaving ? index : 1.0f / index))
        return {Side::Reflected, mirror, leaving};
    return cone;
}

miVector directionIn(const Cone& cone, float blur, const double* sample) {
    if (!(blur > 0.0f)) return cone.axis;
    miVector a, b;
    orthonormalBasis(cone.axis, a, b);
    const float phi = static_cast<float>(2.0 * std::numbers::pi * sample[0]);
    const float cosine = 1.0f - static_cast<float>(sample[1]) * blur;
    const float sine = std::sqrt(std::max(0.0f, 1.0f - cosine * cosine));
    return cone.axis * cosine + (a * std::cos(phi) + b * std::sin(phi)) * sine;
}

/// Moves a direction that a bent normal or the blur moved to the wrong side back to its own.
miVector onItsSide(const miVector& direction, const miVector& geometricNormal, Side side) {
    constexpr float clearance = 0.01f;
    const float cosine = dot(direction, geometricNormal);
    if (cosine * signOf(side) < 0.0f) return direction;
    return normalized(direction - geometricNormal * (cosine + clearance * signOf(side)));
}

bool atLimit(const miState* state, int materialLimit) {
    const miOptions& options = *state->options;
    return state->refraction_level >= std::min(options.refraction_depth, materialLimit) ||
           traceLevel(state) >= options.trace_depth;
}

/// The camera's environment, for rays beyond the last level.
bool environmentDirectly(miColor& light, miState* state, const miVector& direction) {
    const miTag environment =
        state->environment != miNULLTAG ? state->environment : state->camera->environment;
    if (environment == miNULLTAG) return false;
    const Restored<miRay_type> type(state->type);
    const Restored<miVector> before(state->dir);
    state->type = miRAY_ENVIRONMENT;
    state->dir = direction;
    return mi_call_shader_x(&light, miSHADER_ENVIRONMENT, state, environment, nullptr);
}

bool environmentBehind(miColor& light, miState* state, miVector direction) {
    const Restored<miInteger> level(state->refraction_level);
    ++state->refraction_level;
    return mi_trace_environment(&light, state, &direction);
}

/// Light along one direction, before absorption. `water` receives the length of its path through the water.
miColor arriving(miState* state, const Cone& cone, miVector direction, int limit, float& water) {
    water = 0.0f;
    miColor light = BLACK;
    bool found = false;
    const bool traces = state->options->trace != 0;
    if (traces && cone.side == Side::Reflected) {
        found = mi_trace_reflection(&light, state, &direction);
    } else if (traces) {
        state->ior = state->ior_in;
        found = mi_trace_refraction(&light, state, &direction); // also at a limit, where the renderer decides
    } else if (atLimit(state, limit)) {
        found = environmentDirectly(light, state, direction);
    } else {
        found = environmentBehind(light, state, direction);
    }
    const miState* const hit = state->child;
    if (traces && found && cone.inWater && hit && hit->instance != miNULLTAG)
        water = static_cast<float>(hit->dist);
    return found ? light : BLACK;
}

/// Transmittance of the water along a path (Beer-Lambert law), by channel.
miColor absorbed(const OceanRefractionSettings& settings, float distance) {
    const float exponent = distance * settings.absorbance;
    if (!(exponent > 0.0f)) return WHITE;
    const auto channel = [exponent](float base) { return std::pow(std::max(0.0f, base), exponent); };
    return {channel(settings.absorptionColor.r), channel(settings.absorptionColor.g),
            channel(settings.absorptionColor.b), 1.0f};
}

/// One sample; its pass values are accumulated to the parent level.
miColor sampled(miState* state, const Cone& cone, const miVector& direction, const miColor& weight,
                const OceanRefractionSettings& settings, const TraceContext& context) {
    VelabaseState& vela = *context.vela;
    const PassRecords& passes = *context.passes;
    const Restored<miColor> throughput(vela.throughput);
    vela.throughput *= weight;
    const bool isRefraction = cone.side == Side::Refracted;

    tracePassInit(passes.count, passes.records, state);
    const miUint shadedBefore = vela.surfacesShaded;
    float water = 0.0f;
    miColor light = arriving(state, cone, direction, settings.limit, water);
    const miColor left = withAlpha(weight * absorbed(settings, water), weight.a);
    if (vela.surfacesShaded == shadedBefore)
        addUnhandedLight(state, passes, isRefraction, withoutVolumeLight(light, vela, state->child) * left);
    light *= left;
    addTraced(state, vela, passes, isRefraction, left);
    return light;
}

} // namespace

miColor oceanshader_compute_refraction(miColor* transparency, const OceanRefractionSettings& settings,
                                       bool on, miState* state, const TraceContext& context) {
    const miColor passing = withAlpha(*transparency, 1.0f);
    *transparency = withAlpha(passing, luminance(passing));
    if (!on || !anyAbove(passing, 0.0f)) return BLACK;
    *transparency = BLACK;

    const Cone cone = coneOf(state, context.mirror, settings.refractiveIndex);
    const auto at = [&](const double* sample) {
        return onItsSide(directionIn(cone, settings.blur, sample), state->normal_geom, cone.side);
    };
    const bool many = settings.blur > 0.0f && settings.samples > 1 && !isGathering(state);
    const miUint count = many ? static_cast<miUint>(settings.samples) : 1u;
    const miColor weight = passing * (1.0f / static_cast<float>(count));
    miColor light = BLACK;
    double sample[2] = {0.0, 0.0};
    if (!(settings.blur > 0.0f)) return sampled(state, cone, at(sample), weight, settings, context);
    int counter = 0;
    while (mi_sample(sample, &counter, state, 2, &count))
        light += sampled(state, cone, at(sample), weight, settings, context);
    return light;
}

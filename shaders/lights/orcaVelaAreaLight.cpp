// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaAreaLight.h"

#include "orcaEmitter.h"
#include "orcaLightStrength.h"
#include "orcaVector.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using P = AreaLightParameters;

constexpr const char* name = "vela_arealight";
constexpr float pi = std::numbers::pi_v<float>;

/// The lamp's colour at a place on it.
miColor colorAt(miState* state, P* record, VelabaseState& vela, const miVector& coordinate) {
    const LightTextureSpace textureSpace(state, vela, coordinate);
    mi_flush_cache(state);
    return lampColor(state, record);
}

/// Mean colour, as the point sees the lamp.
miColor meanColor(miState* state, P* record, VelabaseState& vela, const Emitter& emitter, unsigned samples) {
    miColor sum = BLACK;
    float weights = 0.0f;
    emitter.eachSample(state, samples, [&](const Emitter::Sample& sample) {
        sum += colorAt(state, record, vela, sample.coordinate) * sample.weight;
        weights += sample.weight;
    });
    return weights > 0.0f ? sum / weights : BLACK;
}

/// Radiance of the lamp over its colour. Nothing for units that it has not.
std::optional<miScalar> radiance(miState* state, P* record, const Emitter& emitter, bool twoSided) {
    const miScalar area = emitter.area();
    const auto strength = lampStrength(state, record, name, twoSided ? 2.0f * pi : pi, area);
    if (!strength) return std::nullopt;
    return strength->photometric ? strength->value * pi / area : strength->value;
}

/// Light that a white surface facing all of the lamp would show, over the lamp's radiance.
miScalar shareAtPoint(miState* state, P* record, miScalar solidAngle) {
    const bool physical = parameterValue(state, record, &P::units) != UNITS_NONE;
    const miInteger rate = physical ? 2 : parameterValue(state, record, &P::decayRate);
    if (rate < 1 || rate > 3) return 1.0f;
    const miScalar share = solidAngle / pi;
    return rate == 2 ? share : std::pow(share, 0.5f * static_cast<float>(rate));
}

/// The lamp itself, met by a ray.
miBoolean show(miColor* result, miState* state, P* record, VelabaseState& vela, const Emitter& emitter,
               bool twoSided) {
    miVector direction, place;
    mi_vector_to_light(state, &direction, &state->dir);
    mi_point_to_light(state, &place, &state->point);
    place = place - originInLight(state);
    *result = BLACK;
    if (twoSided || direction.z > 0.0f) {
        const auto strength = radiance(state, record, emitter, twoSided);
        if (!strength) return miFALSE;
        const miVector coordinate{0.5f - 0.5f * place.x, 0.5f + 0.5f * place.y, 0.0f};
        *result = colorAt(state, record, vela, coordinate) * *strength;
    }
    return showLamp(*result, vela);
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaAreaLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaAreaLight(miColor* result, miState* state, AreaLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        const Emitter emitter(state, parameterValue(state, record, &P::shape));
        const bool twoSided = parameterValue(state, record, &P::twoSided) != 0;
        if (state->type != miRAY_LIGHT) return show(result, state, record, vela, emitter, twoSided);

        miVector pointInLight;
        mi_point_to_light(state, &pointInLight, &state->point);
        const bool inFront = pointInLight.z < originInLight(state).z;
        if ((!inFront && !twoSided) || !(emitter.solidAngle() > 0.0f)) return miFALSE;
        const auto strength = radiance(state, record, emitter, twoSided);
        if (!strength) return miFALSE;

        shineFrom(state, emitter.outline().center);
        const bool textured = isConnected(state, record, &P::color);
        const auto samples =
            static_cast<unsigned>(std::max(1, parameterValue(state, record, &P::shadowRays)));
        const miColor color =
            textured ? meanColor(state, record, vela, emitter, samples) : lampColor(state, record);
        const miScalar intensity = *strength * shareAtPoint(state, record, emitter.solidAngle());
        *result = withAlpha(color * intensity, color.a);

        const miColor light = *result;
        const auto trace = [&](miColor* transmission, const miColor& shadowColor, unsigned rays) {
            const Restored<miVector> origin(state->org), direction(state->dir);
            const Restored<miScalar> cosine(state->dot_nd);
            const Restored<double> distance(state->dist);
            WeightedShadows shadows(state, passes);
            // A gather averages many rays: one of each suffices.
            emitter.eachSample(state, isGathering(state) ? 1 : rays, [&](const Emitter::Sample& sample) {
                const miColor weight = textured
                                           ? colorAt(state, record, vela, sample.coordinate) * sample.weight
                                           : WHITE * sample.weight;
                shineFrom(state, sample.place);
                shadows.trace(weight);
            });
            *transmission = shadows.end(light, shadowColor);
            return !allBelow(*transmission, VELA_EPS);
        };
        const miBoolean lit = deliverLight(*result, state, record, vela, passes, intensity, trace);
        vela.areaShape = emitter.outline();
        vela.areaLight = &vela.areaShape;
        return lit;
    });
}

} // extern "C"

#include "declared/orcaVelaAreaLight.h"

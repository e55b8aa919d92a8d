// SPDX-License-Identifier: Apache-2.0
#include "orcaEmitter.h"

#include "orcaAreaLight.h"
#include "orcaLightProtocol.h"
#include "orcaPassRecords.h"
#include "orcaVector.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float pi = std::numbers::pi_v<float>;

miVector fromLight(miState* state, miVector v) {
    mi_vector_from_light(state, &v, &v);
    return v;
}

miVector centerOf(miState* state) {
    miVector center = originInLight(state);
    mi_point_from_light(state, &center, &center);
    return center;
}

} // namespace

Emitter::Emitter(miState* state, miInteger shape)
    : outline_{centerOf(state), fromLight(state, {1.0f, 0.0f, 0.0f}), fromLight(state, {0.0f, 1.0f, 0.0f}),
               shape},
      normal_(normalized(cross(outline_.edgeU, outline_.edgeV))),
      solidAngle_(solidAngleOfAreaLight(state->point, outline_)) {
}

miScalar Emitter::receivedCosine(const miState* state) const {
    return receivedCosineOfAreaLight(state->point, state->normal, outline_);
}

miScalar Emitter::area() const {
    const miScalar quarter = length(cross(outline_.edgeU, outline_.edgeV));
    return quarter * (outline_.shape == AREA_DISC ? pi : 4.0f);
}

Emitter::Sample Emitter::sampleAt(const miState* state, double s, double t, miScalar receivedCosine) const {
    float u = 2.0f * static_cast<float>(s) - 1.0f;
    float v = 2.0f * static_cast<float>(t) - 1.0f;
    if (outline_.shape == AREA_DISC) {
        const float radius = std::sqrt(static_cast<float>(s));
        const float angle = static_cast<float>(t) * (2.0f * pi);
        u = radius * std::cos(angle);
        v = radius * std::sin(angle);
    }
    const miVector place = outline_.center + outline_.edgeU * u + outline_.edgeV * v;
    // Seen from its front, the lamp's x runs from right to left.
    const miVector coordinate{0.5f - 0.5f * u, 0.5f + 0.5f * v, 0.0f};
    const miVector toPlace = place - state->point;
    const float squared = dot(toPlace, toPlace), distance = std::sqrt(squared);
    const float part = std::abs(dot(normal_, toPlace)) * area() / (squared * distance * solidAngle_);
    const float received = receivedCosine > 0.0f
                               ? std::max(0.0f, dot(state->normal, toPlace)) / (distance * receivedCosine)
                               : 1.0f;
    return {place, coordinate, part * received};
}

WeightedShadows::WeightedShadows(miState* state, const PassRecords& passes) : state_(state), passes_(passes) {
    traceShadowAccumulateBegin(passes.count, passes.records);
}

void WeightedShadows::trace(const miColor& weight) {
    miColor transmission;
    const bool light = traceShadowAccumulate(passes_.count, passes_.records, &transmission, state_);
    if (light) sum_ += transmission * weight;
    weights_ += weight;
    // Each record has received its transmission once.
    forEachRecord(passes_.count, passes_.records, [&](FrameBufferInfo& record) {
        if (record.flags & FB_LIGHT_CONTRIBUTES)
            record.shadowAccum += record.shadowTransmission * (weight - WHITE);
    });
}

miColor WeightedShadows::mean(const miColor& sum) const {
    const auto share = [](miScalar part, miScalar all) { return all > 0.0f ? part / all : 1.0f; };
    return {share(sum.r, weights_.r), share(sum.g, weights_.g), share(sum.b, weights_.b), 1.0f};
}

miColor WeightedShadows::end(const miColor& light, const miColor& shadowColor) {
    forEachRecord(passes_.count, passes_.records,
                  [&](FrameBufferInfo& record) { record.shadowAccum = mean(record.shadowAccum); });
    constexpr unsigned alreadyMeans = 0;
    traceShadowAccumulateEnd(passes_.count, passes_.records, alreadyMeans, &light, &shadowColor, state_);
    return mean(sum_);
}

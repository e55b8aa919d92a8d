// SPDX-License-Identifier: Apache-2.0
#include "orcaRamp.h"

#include "orcaConstants.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// Start and count of an array parameter; its storage follows.
struct ArrayHeader {
    int start, count;
};

template <class Entry>
Entry* elementsOf(void* parameterArray) {
    auto* const header = static_cast<ArrayHeader*>(parameterArray);
    return reinterpret_cast<Entry*>(header + 1) + header->start;
}

template <class T>
T evaluated(miState* state, T* parameter) {
    return *static_cast<T*>(mi_eval(state, parameter));
}

/// Indices of the entries around u.
struct Span {
    int lower, upper;
};

/// Among the entries for which `takes` holds, the one that `beats` all others, the first of equals; -1 for
/// none.
template <class Takes, class Beats>
int bestEntry(const Ramp& ramp, const Takes& takes, const Beats& beats) {
    int best = -1;
    for (int i = 0; i < ramp.count; ++i)
        if (takes(ramp.positions[i]) && (best < 0 || beats(ramp.positions[i], ramp.positions[best])))
            best = i;
    return best;
}

constexpr auto lowest = [](float a, float b) { return a < b; };
constexpr auto highest = [](float a, float b) { return a > b; };
constexpr auto anything = [](float) { return true; };

Span spanAt(const Ramp& ramp, float u) {
    Span span{bestEntry(
                  ramp, [u](float p) { return p < u; }, highest),
              bestEntry(
                  ramp, [u](float p) { return p >= u; }, lowest)};
    if (span.lower < 0) span.lower = bestEntry(ramp, anything, lowest);
    if (span.upper < 0) span.upper = bestEntry(ramp, anything, highest);
    return span;
}

/// The entries beyond a span, or its ends where there are none.
Span neighbours(const Ramp& ramp, const Span& span) {
    const float low = ramp.positions[span.lower];
    const float high = ramp.positions[span.upper];
    const int before = bestEntry(
        ramp, [low](float p) { return p < low; }, highest);
    const int after = bestEntry(
        ramp, [high](float p) { return p > high; }, lowest);
    return {before < 0 ? span.lower : before, after < 0 ? span.upper : after};
}

/// Share of the upper entry.
float weightAt(const Ramp& ramp, const Span& span, float u) {
    const float low = ramp.positions[span.lower];
    const float high = ramp.positions[span.upper];
    const miInteger kind = ramp.interpolation[span.lower];
    if (kind == RAMP_NONE || !(low < u)) return 0.0f;
    if (high <= u) return 1.0f;
    const float t = (u - low) / (high - low);
    if (kind == RAMP_LINEAR) return t;
    if (kind != RAMP_SMOOTH) return 0.0f;
    return 0.5f * std::cos(static_cast<float>((t + 1.0) * std::numbers::pi)) + 0.5f;
}

/// The spline through a span, for one channel of the entries' values.
template <class Channel>
float splineAt(const Ramp& ramp, const Span& span, const Span& beyond, float u, const Channel& channel) {
    const auto at = [&](int i) { return ramp.positions[i]; };
    return ramp_hermite_interp(at(beyond.lower), channel(beyond.lower), at(span.lower), channel(span.lower),
                               at(span.upper), channel(span.upper), at(beyond.upper), channel(beyond.upper),
                               u);
}

} // namespace

void ramp_constructor(Ramp* ramp, miState* state, void* parameterArray, int isColor) {
    ramp->isColor = isColor;
    ramp->count = 0;
    if (!parameterArray) return;
    const int given = static_cast<ArrayHeader*>(parameterArray)->count;
    // Intended: a negative count reads as a full ramp.
    ramp->count = given >= 0 && given <= RAMP_MAX_ENTRIES ? given : RAMP_MAX_ENTRIES;
    for (int i = 0; i < ramp->count; ++i) {
        if (isColor) {
            RampColorEntry& entry = elementsOf<RampColorEntry>(parameterArray)[i];
            ramp->positions[i] = evaluated(state, &entry.position);
            ramp->colors[i] = evaluated(state, &entry.value);
            ramp->interpolation[i] = evaluated(state, &entry.interpolation);
        } else {
            RampScalarEntry& entry = elementsOf<RampScalarEntry>(parameterArray)[i];
            ramp->positions[i] = evaluated(state, &entry.position);
            ramp->scalars[i] = evaluated(state, &entry.value);
            ramp->interpolation[i] = evaluated(state, &entry.interpolation);
        }
    }
}

void ramp_destructor(Ramp* ramp) {
    ramp->count = 0;
}

float ramp_get_interp_float(float u, const Ramp* ramp) {
    if (ramp->isColor != 0 || ramp->count == 0) return 0.0f;
    const Span span = spanAt(*ramp, u);
    const float low = ramp->scalars[span.lower];
    const float high = ramp->scalars[span.upper];
    if (ramp->interpolation[span.lower] == RAMP_SPLINE) {
        if (!(ramp->positions[span.lower] < u)) return low;
        if (ramp->positions[span.upper] <= u) return high;
        return splineAt(*ramp, span, neighbours(*ramp, span), u, [&](int i) { return ramp->scalars[i]; });
    }
    const float weight = weightAt(*ramp, span, u);
    return low * (1.0f - weight) + high * weight;
}

void ramp_get_interp_color(float u, const Ramp* ramp, miColor* result) {
    if (ramp->isColor == 0 || ramp->count == 0) {
        *result = VELA_BLACK;
        return;
    }
    const Span span = spanAt(*ramp, u);
    const miColor& low = ramp->colors[span.lower];
    const miColor& high = ramp->colors[span.upper];
    if (ramp->interpolation[span.lower] == RAMP_SPLINE) {
        if (!(ramp->positions[span.lower] < u)) {
            *result = low;
        } else if (ramp->positions[span.upper] <= u) {
            *result = high;
        } else {
            const Span beyond = neighbours(*ramp, span);
            const auto channel = [&](miScalar miColor::*c) {
                return splineAt(*ramp, span, beyond, u, [&](int i) { return ramp->colors[i].*c; });
            };
            result->r = channel(&miColor::r);
            result->g = channel(&miColor::g);
            result->b = channel(&miColor::b);
        }
        return;
    }
    const float weight = weightAt(*ramp, span, u);
    result->r = low.r * (1.0f - weight) + high.r * weight;
    result->g = low.g * (1.0f - weight) + high.g * weight;
    result->b = low.b * (1.0f - weight) + high.b * weight;
}

float ramp_hermite_interp(float p0, float y0, float p1, float y1, float p2, float y2, float p3, float y3,
                          float u) {
    constexpr float tension = 0.2f; // cancels, except where the divisor below is clamped
    const float d = p2 - p1;
    const float rise = y2 - y1;
    const float held = std::max(VELA_EPS, tension * d);
    const float next = std::max(VELA_EPS, (p3 == p2 ? p2 + d : p3) - p1);
    const float previous = std::max(VELA_EPS, p2 - (p0 == p1 ? p1 - d : p0));
    const float m0 = ((y2 - y0) * tension * d / previous) / held;
    const float m1 = ((y3 - y1) * tension * d / next) / held;
    const float x = u - p1;
    const float q = 1.0f / (d * d);
    const float s = d * m0;
    return y1 +
           x * (m0 + ((3.0f * rise - 2.0f * s - m1 * d) * q + q * (s + m1 * d - 2.0f * rise) / d * x) * x);
}

// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaNoise.h"
#include "orcaParameters.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

/// Parameters of velaSky, in declaration order.
struct VelaSkyParameters {
    miColor zenith, horizon, ground; // straight up, level, and straight down
    miScalar horizonFalloff;         // above 0; the larger, the narrower the band along the horizon
    miVector sunDirection;           // from where the sun shines, any length
    miColor sunColor;                // of the disc
    miScalar sunAngle;               // degrees across
    miBoolean sunMirrored;           // reflections show the disc; off: a light's highlight does
    miColor glowColor;               // around the sun
    miScalar glowFalloff;            // above 0; the larger, the closer around the sun
    miColor cloudColor;              // away from the sun
    miColor cloudGlow;               // towards the sun
    miScalar cloudCover;             // 0 to 1
    miScalar cloudScale;             // width of clouds, in heights of their layer
    miScalar cloudStretch;           // along the world's x axis
};

namespace {

using P = VelaSkyParameters;

miColor mixed(const miColor& a, const miColor& b, miScalar t) {
    return a * (1.0f - t) + b * t;
}

miScalar smoothStep(miScalar low, miScalar high, miScalar x) {
    const miScalar t = std::clamp((x - low) / (high - low), 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

/// Fractional Brownian motion in a plane, normalised to (-1, 1); coordinates in cells.
miScalar fractalNoise(miScalar x, miScalar y) {
    constexpr int octaves = 6;
    double scale = 1.0 / VELA_CUBE_SIDE;
    miScalar strength = 1.0f, sum = 0.0f, total = 0.0f;
    for (int i = 0; i < octaves; ++i, scale *= 2.03, strength *= 0.55f) {
        sum += strength * noise_scalar_3d(x * scale, y * scale, 0.37 * i);
        total += strength;
    }
    return sum / total;
}

/// Share of the sky that clouds cover in a direction above the horizon.
miScalar cloudsAt(const miVector& d, miScalar cover, miScalar scale, miScalar stretch) {
    constexpr miScalar lowest = 0.015f; // sine of the elevation at which the layer ends
    if (!(cover > 0.0f) || d.y <= lowest || scale <= 0.0f || stretch <= 0.0f) return 0.0f;
    const miScalar x = d.x / d.y / (scale * stretch), y = d.z / d.y / scale;
    const miScalar threshold = 0.5f - cover;
    const miScalar share = smoothStep(threshold, threshold + 0.45f, fractalNoise(x, y) + 0.15f);
    return share * smoothStep(lowest, 0.1f, d.y);
}

/// What the eye sees of the sun itself: reflections have their highlights instead, without the noise that so
/// small and bright a disc makes.
bool showsDisc(const miState* state, bool mirrored) {
    if (mirrored) return true;
    for (const miState* s = state; s; s = s->parent)
        if (s->type != miRAY_EYE && s->type != miRAY_TRANSPARENT) return false;
    return true;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaSky_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaSky(miColor* result, miState* state, VelaSkyParameters* record) {
    constexpr miScalar degree = 0.017453293f;
    miVector d;
    mi_vector_to_world(state, &d, &state->dir);
    d = normalized(d);

    const miColor horizon = parameterValue(state, record, &P::horizon);
    const miScalar falloff = std::max(0.01f, parameterValue(state, record, &P::horizonFalloff));
    const miScalar away = 1.0f - std::pow(1.0f - std::min(1.0f, std::abs(d.y)), falloff);
    miColor sky = mixed(horizon,
                        d.y >= 0.0f ? parameterValue(state, record, &P::zenith)
                                    : parameterValue(state, record, &P::ground),
                        away);

    const miVector sun = normalized(parameterValue(state, record, &P::sunDirection));
    const miScalar towardSun = std::clamp(dot(d, sun), -1.0f, 1.0f);
    const miScalar sharpness = std::max(0.01f, parameterValue(state, record, &P::glowFalloff));
    const miScalar glow = std::pow(0.5f + 0.5f * towardSun, sharpness);
    sky += parameterValue(state, record, &P::glowColor) * glow;

    const miScalar clouds = cloudsAt(d, parameterValue(state, record, &P::cloudCover),
                                     parameterValue(state, record, &P::cloudScale),
                                     parameterValue(state, record, &P::cloudStretch));
    const miScalar radius = 0.5f * degree * parameterValue(state, record, &P::sunAngle);
    if (radius > 0.0f && showsDisc(state, parameterValue(state, record, &P::sunMirrored) != 0)) {
        const miScalar angle = std::acos(towardSun);
        const miScalar disc = 1.0f - smoothStep(0.9f * radius, 1.1f * radius, angle);
        sky += parameterValue(state, record, &P::sunColor) * disc;
    }
    if (clouds > 0.0f) {
        const miColor lit = parameterValue(state, record, &P::cloudColor) +
                            parameterValue(state, record, &P::cloudGlow) * std::sqrt(glow);
        sky = mixed(sky, lit, clouds);
    }
    *result = withAlpha(sky, 1.0f);
    return miTRUE;
}

} // extern "C"

#include "declared/velaSky.h"

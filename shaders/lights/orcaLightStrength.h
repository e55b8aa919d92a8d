// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How strong a light is at a distance, in the picture's units or in photometric ones, and its colour.

#include "orcaColor.h"
#include "orcaParameters.h"
#include "orcaPhotometry.h"
#include "orcaUtilities.h"

#include <algorithm>
#include <numbers>
#include <optional>
#include <string>

/// Decay only attenuates: within the unit distance the light has its full intensity.
[[nodiscard]] inline miScalar decayed(miScalar intensity, miScalar distance, miInteger rate) {
    if (!(distance > 1.0f) || rate < 1 || rate > 3) return intensity;
    for (int i = 0; i < rate; ++i) intensity /= distance;
    return intensity;
}

/// A light's intensity: `value` in the picture's units, or after `decays` photometric ones, with which it
/// falls with the square of the distance, whatever the light's decay rate.
struct LightStrength {
    miScalar value;
    bool photometric;

    [[nodiscard]] miScalar at(miScalar distance, miInteger decayRate) const {
        if (!photometric) return decayed(value, distance, decayRate);
        constexpr miScalar least = 1e-12f; // keeps the light of a lamp at its own place finite
        return value / std::max(least, distance * distance);
    }
};

/// Strength of a lamp of the given solid angle and area (see candela). Nothing, after a message, for units
/// that it has not.
/// @param name of the shader in messages
template <class P>
[[nodiscard]] std::optional<LightStrength> lampStrength(miState* state, P* record, const char* name,
                                                        miScalar solidAngle, miScalar area) {
    const miScalar intensity = parameterValue(state, record, &P::intensity);
    const miInteger units = parameterValue(state, record, &P::units);
    if (units == UNITS_NONE) return LightStrength{intensity, false};
    const auto strength = candela(units, intensity, solidAngle, area);
    if (!strength) {
        orcaWarning(std::string(name) + (units == UNITS_NIT ? "(): units 3 (nit) need a lamp with a size."
                                                            : "(): units must be 0, 1, 2 or 3."));
        return std::nullopt;
    }
    // A white surface shows its illuminance over pi.
    return LightStrength{*strength / std::numbers::pi_v<miScalar>, true};
}

/// Strength of light that comes from afar or from nowhere: its units are 0 or 3, lux. Nothing, after a
/// message, for others.
template <class P>
[[nodiscard]] std::optional<miScalar> distantStrength(miState* state, P* record, const char* name) {
    const miScalar intensity = parameterValue(state, record, &P::intensity);
    switch (parameterValue(state, record, &P::units)) {
    case UNITS_NONE: return intensity;
    case UNITS_NIT: return intensity / std::numbers::pi_v<miScalar>;
    default: orcaWarning(std::string(name) + "(): units must be 0 or 3 (lux)."); return std::nullopt;
    }
}

/// The light's colour, tinted by its colour temperature when that is above 0.
template <class P>
[[nodiscard]] miColor lampColor(miState* state, P* record) {
    const miColor color = parameterValue(state, record, &P::color);
    const miScalar temperature = parameterValue(state, record, &P::colorTemperature);
    return temperature > 0.0f ? color * blackBodyColor(temperature) : color;
}

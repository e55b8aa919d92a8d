// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanTurbulence.h"

#include "orcaConstants.h"
#include "orcaNoise.h"
#include "orcaOceanWaves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr miScalar share = 0.25f; // of each of the waves: sixteen together are about as high as a plain one

/// Difference of a number to its nearest integer, -1/2 to 1/2. Exact. Without branches, so that it
/// vectorises.
inline miScalar fractionAround(miScalar x) noexcept {
    constexpr miScalar whole = 12582912.0f; // 1.5 * 2^23: adding it rounds to a whole number
    return x - ((x + whole) - whole);
}
constexpr miScalar exactBelow = 4194304.0f; // 2^22; beyond, single precision has no useful fraction

/// sin(2 pi s) for s from -1/4 to 1/4: Taylor's series, off by less than 6e-8.
inline miScalar sineOfTurn(miScalar s) noexcept {
    const miScalar x = 2.0f * std::numbers::pi_v<miScalar> * s, q = x * x;
    return x * (1.0f + q * (-1.0f / 6.0f +
                            q * (1.0f / 120.0f +
                                 q * (-1.0f / 5040.0f + q * (1.0f / 362880.0f - q * (1.0f / 39916800.0f))))));
}

/// Four partial sums, then their sum.
template <class Values>
miScalar sumOf(const Values& values) noexcept {
    miScalar lanes[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    for (std::size_t i = 0; i < values.size(); i += 4)
        for (std::size_t lane = 0; lane < 4; ++lane) lanes[lane] += values[i + lane];
    return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
}

} // namespace

OceanTurbulence::OceanTurbulence(miScalar wavelengthMax, miScalar wavelengthMin, miInteger seed)
    : max_(wavelengthMax), min_(wavelengthMin), seed_(seed) {
    const miScalar step = std::exp(std::log(wavelengthMin / wavelengthMax) / (waves - 1));
    miScalar wavelength = std::max(1e-6f, wavelengthMax);
    for (std::size_t i = 0; i < waves; ++i, seed += 3, wavelength *= step) {
        const miScalar a = noise_table_scalar(seed), b = noise_table_scalar(seed + 1);
        const miScalar l = std::sqrt(a * a + b * b);
        const bool directed = !(l < VELA_EPS);
        directionX_[i] = directed ? a / l : 0.0f;
        directionZ_[i] = directed ? b / l : 0.0f;
        phase_[i] = noise_table_scalar(seed + 2);
        wavelength_[i] = wavelength;
        speed_[i] = oceanWaveSpeed(wavelength);
        amplitude_[i] = directed ? wavelength : 0.0f;
    }
}

OceanTurbulence::Values OceanTurbulence::phases(miScalar x, miScalar z, miScalar time) const noexcept {
    // One loop per step: each vectorises.
    Values phases;
    for (std::size_t i = 0; i < waves; ++i) {
        const miScalar a = directionX_[i], b = directionZ_[i], travel = time * speed_[i];
        phases[i] = (a * (x + a * travel) + b * (z + b * travel)) / wavelength_[i] + phase_[i];
    }
    int tooLarge = 0;
    for (std::size_t i = 0; i < waves; ++i) tooLarge |= std::abs(phases[i]) < exactBelow ? 0 : 1;
    if (tooLarge == 0) {
        for (std::size_t i = 0; i < waves; ++i) phases[i] = fractionAround(phases[i]);
    } else {
        for (std::size_t i = 0; i < waves; ++i) phases[i] -= std::nearbyint(phases[i]);
    }
    return phases;
}

miScalar OceanTurbulence::sumOfHeights(const Values& phases) const noexcept {
    Values heights;
    for (std::size_t i = 0; i < waves; ++i)
        heights[i] = amplitude_[i] * sineOfTurn(0.25f - std::abs(phases[i])); // the phase's cosine
    return share * sumOf(heights);
}

miScalar OceanTurbulence::height(miScalar x, miScalar z, miScalar time) const noexcept {
    return sumOfHeights(phases(x, z, time));
}

miScalar OceanTurbulence::heightAndSlopes(miScalar x, miScalar z, miScalar time, miScalar& slopeX,
                                          miScalar& slopeZ) const noexcept {
    const Values p = phases(x, z, time);
    Values alongX, alongZ;
    for (std::size_t i = 0; i < waves; ++i) {
        const miScalar folded = std::min(std::max(p[i], -0.5f - p[i]), 0.5f - p[i]);
        const miScalar steepness =
            sineOfTurn(folded) * (2.0f * std::numbers::pi_v<miScalar>) / wavelength_[i];
        alongX[i] = directionX_[i] * steepness;
        alongZ[i] = directionZ_[i] * steepness;
    }
    slopeX = -share * sumOf(alongX);
    slopeZ = -share * sumOf(alongZ);
    return sumOfHeights(p);
}

const OceanTurbulence& oceanTurbulence(miScalar wavelengthMax, miScalar wavelengthMin, miInteger seed) {
    constexpr std::size_t kept = 64; // a power of two
    thread_local std::array<OceanTurbulence, kept> groups;
    OceanTurbulence& group = groups[static_cast<std::size_t>(seed) * 7u % kept];
    if (!group.isFor(wavelengthMax, wavelengthMin, seed))
        group = OceanTurbulence(wavelengthMax, wavelengthMin, seed);
    return group;
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The wave field of open water: a height and a foam amount at each point of the ground plane at a time, as a
/// sum of octaves of falling wavelength. Each octave is a plain wave, a group of turbulent waves, or a blend
/// of both. Lengths are in pattern units: world units times the pattern scale. Times are in seconds.

#include "orcaExport.h"
#include "orcaRamp.h"

#include <shader.h>

#include <array>

/// Pattern units per second squared.
inline constexpr miScalar OCEAN_GRAVITY = 9.81f;

/// Speed of a wave over deep water, pattern units per second (the dispersion relation of Airy's linear
/// theory, 1845).
[[nodiscard]] miScalar oceanWaveSpeed(miScalar wavelength) noexcept;

/// Parameters of a wave field after ocean_prepare; see ocean_compute. The ramps are borrowed.
struct OceanWaveField {
    miScalar time, patternScale;
    miVector wind;
    miScalar driftFactor, spreadFactor, octaveCount, minWavelength, maxWavelength, ratio;
    const Ramp *heightRamp, *turbulenceRamp, *peakingRamp;
    miScalar foamRate, foamCutoff;
};

/// A wave field with its octaves computed, for several points at one time.
class OceanWaves {
public:
    explicit OceanWaves(const OceanWaveField& field);
    OceanWaves(const OceanWaves&) = delete;
    OceanWaves& operator=(const OceanWaves&) = delete;

    /// As ocean_compute.
    void at(miScalar x, miScalar z, miScalar* height, miScalar* foam, miScalar filterWidth) const;

    /// A point or direction in the ground plane, pattern units.
    struct Ground {
        miScalar x, z;
    };
    struct Octave {
        miScalar wavelength, amplitude, turbulence, peaking;
        miScalar travel;          ///< of the wave since time 0
        miScalar lag;             ///< distance behind a crest over which its foam persists
        Ground direction, offset; ///< unit, and the travel along it
        Ground drift;             ///< of the pattern from here on
        miInteger seed;           ///< of its turbulence
    };

private:
    /// Octaves in order, from the longest waves to the shortest.
    class Series {
    public:
        explicit Series(const OceanWaveField& field);
        bool next(Octave& octave);

    private:
        void direct(Octave& octave, bool first);

        const OceanWaveField& field_;
        int octaves_, index_ = 0;
        Ground wind_; ///< unit, or as given when it is nearly 0
        miScalar wavelength_;
        miInteger seed_ = 1;
    };
    static constexpr int mostKept = 24; ///< more than scenes use; the rest is computed at every point

    OceanWaveField field_;
    std::array<Octave, mostKept> octaves_;
    int kept_ = 0;
    Series rest_;
};

extern "C" {

/// Limits the parameters to their ranges, in place: orders the wavelengths, keeps scale and wavelengths above
/// 0, and lowers the octave count by VELA_EPS, so that a whole count has no last octave of weight 0.
/// @param ratio out: a wavelength over the one before
ORCA_EXPORT void ocean_prepare(miScalar& patternScale, miScalar& minWavelength, miScalar& maxWavelength,
                               miScalar& octaveCount, miScalar& ratio);

/// Height of a group of 16 waves in random directions, their wavelengths spread evenly in proportion from the
/// longest to the shortest.
/// @param seed      first of the table values that the group is made of; it takes 48
/// @param gradientX slope along x, and along z, of the waves with their heights taken as 1 (per pattern
///                  unit); both null when not wanted
[[nodiscard]] ORCA_EXPORT miScalar ocean_water_turbulence(miScalar x, miScalar z, miScalar time,
                                                          miScalar wavelengthMax, miScalar wavelengthMin,
                                                          miInteger seed, miScalar* gradientX,
                                                          miScalar* gradientZ);

/// The wave field at a point. The parameters have been through ocean_prepare.
/// @param x, z         world units
/// @param height       world units; null when not wanted
/// @param foam         from 0 on; null when not wanted
/// @param windVector   x and y: where the wind blows from, along world x and z; any length. Waves run against
///                     it.
/// @param driftFactor  drift of the pattern with the first octave, as a share of its travel
/// @param spreadFactor 0: all waves run along the wind; 1: in random directions
/// @param heightRamp, turbulenceRamp, peakingRamp  over the position of an octave in the range of wavelengths
/// @param filterWidth  what a pixel covers, pattern units; foam that is finer loses contrast
ORCA_EXPORT void ocean_compute(miScalar x, miScalar z, miScalar time, miScalar* height, miScalar* foam,
                               miScalar patternScale, const miVector* windVector, miScalar driftFactor,
                               miScalar spreadFactor, miScalar octaveCount, miScalar minWavelength,
                               miScalar maxWavelength, const Ramp* heightRamp, const Ramp* turbulenceRamp,
                               const Ramp* peakingRamp, miScalar foamRate, miScalar foamCutoff,
                               miScalar ratio, miScalar filterWidth);

} // extern "C"

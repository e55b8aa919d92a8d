// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Groups of waves in random directions.

#include <shader.h>

#include <array>

/// Sixteen waves, their wavelengths spread evenly in proportion from the longest to the shortest. Arrays, so
/// that the computation vectorises.
class OceanTurbulence {
public:
    static constexpr int waves = 16;

    /// @param seed of the first of 48 values of the noise table, for directions and phases
    OceanTurbulence(miScalar wavelengthMax, miScalar wavelengthMin, miInteger seed);
    OceanTurbulence() = default; ///< of no waves

    [[nodiscard]] bool isFor(miScalar wavelengthMax, miScalar wavelengthMin, miInteger seed) const noexcept {
        return wavelengthMax == max_ && wavelengthMin == min_ && seed == seed_;
    }

    [[nodiscard]] miScalar height(miScalar x, miScalar z, miScalar time) const noexcept;
    /// The slopes are those of waves of height 1, per pattern unit.
    [[nodiscard]] miScalar heightAndSlopes(miScalar x, miScalar z, miScalar time, miScalar& slopeX,
                                           miScalar& slopeZ) const noexcept;

private:
    using Values = std::array<miScalar, waves>;
    /// How far each wave is from its crest, in wavelengths, -1/2 to 1/2.
    [[nodiscard]] Values phases(miScalar x, miScalar z, miScalar time) const noexcept;
    [[nodiscard]] miScalar sumOfHeights(const Values& phases) const noexcept;

    miScalar max_ = 0.0f, min_ = 0.0f;
    miInteger seed_ = 0;
    Values directionX_{}, directionZ_{}; ///< unit, or null where the table has no direction
    Values phase_{};
    Values wavelength_{}, speed_{};
    Values amplitude_{}; ///< the wavelength; 0 for a wave without direction
};

/// The thread's cached group for these values: every point of a sea uses the same few.
[[nodiscard]] const OceanTurbulence& oceanTurbulence(miScalar wavelengthMax, miScalar wavelengthMin,
                                                     miInteger seed);

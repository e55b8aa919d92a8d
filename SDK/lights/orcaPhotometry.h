// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Light in photometric units. The value 1 of a picture is 1 cd/m^2 and a scene unit is a metre: a white
/// surface under E lux shows E / pi.

#include <shader.h>

#include <optional>

/// What a light's intensity is measured in.
enum LightUnits : miInteger {
    UNITS_NONE = 0,    ///< the picture's own
    UNITS_LUMEN = 1,   ///< flux of the lamp
    UNITS_CANDELA = 2, ///< along its brightest direction
    UNITS_NIT = 3      ///< luminance of a lamp with a size, cd/m^2; illuminance of distant light, lux
};

/// Candela of a lamp.
/// @param solidAngle steradians that its flux goes into, weighted by the intensity relative to the brightest
/// @param area       square metres that it shows toward the brightest direction; 0: it has none
/// Nothing for units that do not exist, and for nit without an area.
[[nodiscard]] std::optional<miScalar> candela(miInteger units, miScalar intensity, miScalar solidAngle,
                                              miScalar area);

/// Colour of a black body, linear Rec. 709 primaries, of luminance 1 (Rec. 709 weights). The locus is that of
/// Kim et al., "Color Temperature Conversion System and Method Using the Same" (2002), valid from 1667 to
/// 25000 kelvin, to which the temperature is limited. Colours outside the primaries lose their negative part.
[[nodiscard]] miColor blackBodyColor(miScalar kelvin);

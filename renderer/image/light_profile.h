// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace orca::image {

/// An error in a photometric file, with its line.
struct LightProfileError : std::runtime_error {
    LightProfileError(int atLine, const std::string& what) : std::runtime_error(what), line(atLine) {}
    int line; ///< from 1
};

/// Measured intensity of a luminaire by direction, relative to its strongest.
///
/// Directions are those of light space: the luminaire shines down -z. Type C tables count vertical angles
/// from there and horizontal ones about it, from +x to +y; those of type A and B count from -z to +x and to
/// +y, A about the vertical axis y, B about the horizontal axis x.
class LightProfile {
public:
    enum class Axes { A, B, C };
    /// How a table that covers a part of the horizontal angles is completed.
    enum class Symmetry {
        None,
        Axial,     ///< one plane for all
        Half,      ///< 0 to 180: mirrored in the plane 0-180
        HalfAside, ///< 90 to 270: mirrored in the plane 90-270
        Quarter    ///< 0 to 90: both
    };
    enum class Between { Nearest, Linear, Cubic };

    /// What a file holds. Angles in degrees, increasing; candela by plane, then by vertical angle.
    struct Table {
        Axes axes = Axes::C;
        Symmetry symmetry = Symmetry::None;
        bool clockwise = false; ///< horizontal angles count clockwise
        std::vector<float> vertical, horizontal;
        std::vector<float> candela;
        std::string tiltFile; ///< named by TILT=, relative to the table's own file. Empty: none
    };
    explicit LightProfile(Table table);

    /// Intensity toward a direction of light space (need not be unit), 0 to 1; 0 beyond the vertical angles
    /// that were measured. Cubic interpolation may swing above 1.
    [[nodiscard]] float toward(const miVector& direction, Between between) const;

private:
    struct Angles {
        float vertical, horizontal;
    };
    [[nodiscard]] Angles anglesOf(const miVector& direction) const;
    [[nodiscard]] float folded(float horizontal) const;
    [[nodiscard]] float inPlane(std::size_t plane, float vertical, Between between) const;

    Table table_;
    bool wraps_ = false; ///< planes go all the way round
};

/// Reads IES LM-63 of 1986, 1991, 1995 or 2002. Throws LightProfileError.
[[nodiscard]] LightProfile::Table readIes(const std::string& text);
/// Reads the text of a file that TILT= names: how the lamp's output depends on its tilt. Throws
/// LightProfileError. Nothing tilts lamps here, so the factors are not kept.
void checkIesTilt(const std::string& text);
/// Reads EULUMDAT. Throws LightProfileError.
[[nodiscard]] LightProfile::Table readEulumdat(const std::string& text);

} // namespace orca::image

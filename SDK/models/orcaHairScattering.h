// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Scattering of light by a hair: a dielectric cylinder with pigment inside and tilted scales outside (Chiang
/// et al., "A Practical and Controllable Hair and Fur Model for Production Path Tracing", 2016, after
/// Marschner et al., "Light Scattering from Human Hair Fibers", 2003, and d'Eon et al., "An Energy-Conserving
/// Hair Reflectance Model", 2011).

#include "orcaColor.h"
#include "orcaFibre.h"

#include <shader.h>

#include <array>

struct HairOptics {
    miColor absorption;             ///< of the inside, per radius of the hair
    miScalar longitudinalRoughness; ///< 0 to 1: spread of highlights along the hair
    miScalar azimuthalRoughness;    ///< 0 to 1: spread around it
    miScalar cuticleTilt;           ///< radians, of the scales, which rise toward the tip
    miScalar refractiveIndex;       ///< above 1
};

/// Absorption that gives a mass of hairs a colour of 0 to 1 under light that is scattered many times.
[[nodiscard]] miColor hairAbsorptionOfColor(const miColor& color, miScalar azimuthalRoughness);
/// The inverse: colour that such a mass has.
[[nodiscard]] miColor hairColorOfAbsorption(const miColor& absorption, miScalar azimuthalRoughness);
/// Absorption of pigment.
/// @param melanin 0 to 1: none to all that hair holds: 0.1 blond, 0.5 brown, 0.9 black
/// @param redness 0 to 1: share of the red pigment
[[nodiscard]] miColor hairAbsorptionOfMelanin(miScalar melanin, miScalar redness);

/// What a hair does to light, for one place on it and one viewer. The lobes take these shares: all of the
/// light together when nothing is absorbed.
class HairScattering {
public:
    enum Lobe {
        REFLECTED,   ///< by the surface (R)
        TRANSMITTED, ///< through the hair (TT)
        INNER,       ///< reflected once inside (TRT)
        REST,        ///< reflected inside more often
    };
    static constexpr int lobes = 4;

    /// @param toViewer unit length
    HairScattering(const HairOptics& optics, const FibreFrame& frame, const miVector& toViewer);

    /// Share of light from all around that leaves toward the viewer in a lobe.
    [[nodiscard]] const miColor& attenuation(Lobe lobe) const noexcept { return lobe_[lobe].attenuation; }
    /// Density over solid angle of the directions to lights whose light leaves toward the viewer in a lobe;
    /// its integral over all directions is 1.
    [[nodiscard]] miScalar density(Lobe lobe, const miVector& toLight) const;
    /// Share of a light sample: a sample's colour is its radiance over pi times its density.
    [[nodiscard]] miColor share(Lobe lobe, const miVector& toLight) const;
    /// A direction with that density.
    /// @param u three numbers from 0 to 1
    [[nodiscard]] miVector direction(Lobe lobe, const double* u) const;

private:
    struct LobeShape {
        miColor attenuation = BLACK;
        miScalar variance = 0.0f;            ///< of the longitudinal angle
        miScalar sine = 0.0f, cosine = 1.0f; ///< of the viewer's longitudinal angle, tilted by the scales
        miScalar turn = 0.0f;                ///< azimuth of the lobe's middle, radians
    };

    void attenuate(const HairOptics& optics, miScalar sineOfViewer, miScalar cosineOfViewer, miScalar offset);
    void tilt(miScalar cuticleTilt, miScalar sineOfViewer, miScalar cosineOfViewer);

    FibreFrame frame_;
    std::array<LobeShape, lobes> lobe_;
    miScalar scale_;  ///< of the logistic distribution of azimuths, radians
    miScalar within_; ///< share of it within half a turn
};

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Light of the scene's lights that media scatter toward a ray's origin, and the fogs of lights.

#include "orcaRayProfile.h"
#include "orcaVolumePasses.h"

struct ScatteredLightSettings {
    int samples;        ///< points of the ray at which each light is asked for, 1 or more
    int orders;         ///< of multiple scattering; 0: light is scattered once
    miScalar jitter;    ///< of the points, 0 to 1
    const void* engine; ///< parameters of the running engine
};

/// Adds what lights give along one ray.
class ScatteredLight {
public:
    ScatteredLight(const VolumeSet& set, const VolumeRay& ray, const RayProfile& profile,
                   const ScatteredLightSettings& settings, VelabaseState& vela)
        : set_(set), ray_(ray), profile_(profile), settings_(settings), vela_(vela) {}

    /// Scattered by the media. The points are distributed by what they scatter and, for lights that have a
    /// place, by the angle under which these see the ray (C. Kulla and M. Fajardo, "Importance Sampling
    /// Techniques for Path Tracing in Participating Media", 2012), weighted by the balance heuristic (E.
    /// Veach and L. Guibas, "Optimally Combining Sampling Techniques for Monte Carlo Rendering", 1995). Light
    /// that is scattered more than once is estimated from the same paths, of which each further order is half
    /// as dense and half as directed and carries half the light (M. Wrenninge et al., "Oz: The Great and
    /// Volumetric", 2013).
    void addScattered(VolumeLayers& light, VolumePasses& passes) const;
    /// The fogs of lights.
    void addFogs(VolumeLayers& light, VolumePasses& passes) const;

private:
    class AtPoint;
    struct Coefficients;

    void addLight(miTag light, miScalar weight, miScalar jitter, VolumeLayers& sum,
                  VolumePasses& passes) const;
    template <class Share>
    void addSamples(miTag light, miScalar weight, const Share& share, miScalar pointWeight, VolumeLayers& sum,
                    VolumePasses& passes) const;

    const VolumeSet& set_;
    const VolumeRay& ray_;
    const RayProfile& profile_;
    const ScatteredLightSettings& settings_;
    VelabaseState& vela_;
};

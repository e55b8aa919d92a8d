// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaTracing.h"

struct OceanRefractionSettings {
    miScalar refractiveIndex; ///< of the water, relative to the air
    miColor absorptionColor;  ///< transmittance of the water per 1 / absorbance scene units of travel
    miScalar absorbance;      ///< per scene unit
    miInteger limit;   ///< refraction level at which the environment replaces the ray while tracing is off
    miScalar blur;     ///< 1 less the cosine of the cone of directions; 0: one sharp ray
    miInteger samples; ///< rays of the cone; one in a gather
};

/// Light that arrives through the water's surface, as the mean over a cone of rays, times the transparency
/// and the transmittance of the water. Total internal reflection stays in the water.
/// @param transparency in: the material's; out: what the renderer still has to trace straight on: nothing
///                     when the light has been traced, else the material's, with its luminance as alpha
/// @param on           false: nothing is traced, the result is black
extern "C" [[nodiscard]] ORCA_EXPORT miColor
oceanshader_compute_refraction(miColor* transparency, const OceanRefractionSettings& settings, bool on,
                               miState* state, const TraceContext& context);

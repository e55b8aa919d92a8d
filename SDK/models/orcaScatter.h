// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Light that travels below a surface before it exits.
struct ScatterSettings {
    miColor albedo;        ///< 0 to 1: share of the light that exits again
    miColor meanFreePath;  ///< scene units, per channel; 0: light exits where it entered, as with Lambert
    miInteger samples;     ///< probes per point at level 0, fewer further down and in gathers; at least 1
    miBoolean skipShadows; ///< the lights trace no shadows
};

/// Light that entered the object around the state's point and exits there: the albedo times the direct light
/// on the surface nearby, weighted by the normalised-diffusion profile of each channel. The surface is found
/// by probe rays along three axes (King, Kulla, Conty and Fajardo, "BSSRDF Importance Sampling", 2013), which
/// meet only the state's own instance; other objects do not block light below the surface.
///
/// The weights are divided by their sum, so that no shape reflects more light than its surface receives and
/// an evenly lit one reflects exactly the albedo. Deterministic: the points come from `mi_sample`.
///
/// False and black when the albedo is. Alpha is 0.
/// @param scatterCache the instance's slot, null at first; holds the profiles of its settings. Filled without
///                     a lock by the first thread.
extern "C" ORCA_EXPORT miBoolean compute_scatter(miColor* result, const ScatterSettings* settings,
                                                 miState* state, void** scatterCache);

/// Releases an instance's subsurface data, if it has any, and nulls the pointer.
extern "C" ORCA_EXPORT void destroy_scatter(miState* state, void** cache);

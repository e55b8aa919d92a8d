// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// User data of an object with final gather settings, found by VELA_MAGIC.
struct GatherSettings {
    miInteger magic;
    miInteger kind; // GATHER_SETTINGS_KIND, else the block is something else
    miInteger rays;
    miScalar maxRadius; // scene units, or pixels with `view`; 0: the renderer's choice
    miScalar minRadius;
    miBoolean view;
    miInteger filter;
};
inline constexpr miInteger GATHER_SETTINGS_KIND = 1;

/// Indirect diffuse light at the state's point: scale x color x irradiance colour x irradiance. Gathers it,
/// with the throughput attenuated by the surface, unless the override is connected. Black without gathering
/// when the weight is negligible or the path's throughput is below the cut-off. Alpha stays 0.
/// @param irradianceColor,irradianceOverride addresses of parameters of the running shader
/// @param boost above 1: raises the throughput
extern "C" ORCA_EXPORT void compute_irradiance(miColor* result, miColor* irradianceColor,
                                               const miColor* color, const miColor* transparency,
                                               miColor* irradianceOverride, miState* state, float scale,
                                               float boost);

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaVelaState.h"

/// Share of a light sample that comes through a thin surface from behind.
/// @param direction    unit direction to the light
/// @param area         shape of the area light being sampled, or null
/// @param translucence share at full strength
/// @param forward      0 to 1: how much the light keeps to its direction; 0 scatters it evenly
/// @param wrap         0 to 1: how far round the surface the light reaches
extern "C" ORCA_EXPORT float compute_lambert_translucence(miState* state, const miVector* direction,
                                                          const AreaLightRecord* area, float nDotL,
                                                          float translucence, float forward, float wrap);

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaVelaState.h"

/// Share of a light sample that a thin surface transmits from behind.
/// @param direction    unit direction to the light
/// @param area         shape of the area light being sampled, or null
/// @param translucence share at full strength
/// @param forward      0 to 1: how much of the light keeps its direction; 0: scattered evenly
/// @param wrap         0 to 1: how far round the surface the light reaches
extern "C" ORCA_EXPORT float compute_lambert_translucence(miState* state, const miVector* direction,
                                                          const AreaLightRecord* area, float nDotL,
                                                          float translucence, float forward, float wrap);

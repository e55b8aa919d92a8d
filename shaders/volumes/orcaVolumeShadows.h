// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How volumes dim light on its way to a point.

#include "orcaPassRecords.h"
#include "orcaVolumeMarch.h"

/// While a volume asks lights for the light at its points, their paths are not dimmed: their transmittance is
/// handed back, because a volume needs it apart from the light.
struct VolumeLightPath {
    const void* engine;     ///< parameters of the engine that asks
    const miState* ray;     ///< that it is at work on
    const VolumeSet* media; ///< of that engine
    miColor transmittance;
};

/// Dims the light of the state's light ray, or of a segment of its shadow ray, in the renderer's colour and
/// in every record that receives shadowed light.
/// @param engine the running engine's parameters
void dimLight(miColor& light, miState* state, VelabaseState& vela, const MarchSettings& settings,
              const VolumeSet& media, const VolumeRay& ray);

/// The path of light that a volume is asking for, when the light or shadow ray is of its; else null.
[[nodiscard]] VolumeLightPath* askingVolume(const VelabaseState& vela, const miState* state,
                                            const void* engine);

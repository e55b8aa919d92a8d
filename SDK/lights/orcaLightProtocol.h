// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How a material's light loop, the lights and the shadow shaders compute one result per pass. A material
/// opens the loop, takes samples, and closes it; each light marks the records that it contributes to and sets
/// the light of each; each occluder attenuates it. `count` and `records` are getFrameBufferInfo's; with count
/// 0 the functions do nothing but trace shadows.

#include "orcaExport.h"
#include "orcaFrameBufferRecords.h"
#include "orcaVelaState.h"

extern "C" {

/// What a material sets `VelabaseState::lightData` to before each light.
extern ORCA_EXPORT LightData defaultLightDataArray;

/// Opens a material's light loop.
ORCA_EXPORT void sampleLightBegin(unsigned count, FrameBufferInfo* records);
/// Closes it: combines the mean over `samples` of what the loop accumulated into the level's slots, by the
/// material's write mode, scaled by `*scale` when bit 0 of `*useScale` is set.
ORCA_EXPORT void sampleLightEnd(miState* state, unsigned count, FrameBufferInfo* records, int samples,
                                const int* mode, const unsigned char* useScale, const float* scale);

/// Called by each light at its start: marks the records that the light instance's pass mask admits.
ORCA_EXPORT void setupLightContributions(unsigned count, FrameBufferInfo* records, miState* state);
/// Called by a material after each light sample: sets the records for a light that does not call this
/// protocol.
ORCA_EXPORT void handleNonOrcaLights(unsigned count, FrameBufferInfo* records, const miColor* lightValue,
                                     miTag lightInstance, miState* state);

/// For a light that traces no shadow.
ORCA_EXPORT void setLightIrradiance(unsigned count, FrameBufferInfo* records, const miColor* color);
/// One shadow ray. `shadowResult` receives its transmission. With `uniform` it applies to all records; else
/// each has its own. False when the ray was fully blocked.
ORCA_EXPORT bool traceShadow(unsigned count, FrameBufferInfo* records, miColor* shadowResult,
                             const miColor* lightValue, const miColor* shadowColor, bool uniform,
                             miState* state);
/// Several shadow rays, averaged over `samples` at the end.
ORCA_EXPORT void traceShadowAccumulateBegin(unsigned count, FrameBufferInfo* records);
ORCA_EXPORT bool traceShadowAccumulate(unsigned count, FrameBufferInfo* records, miColor* shadowResult,
                                       miState* state);
ORCA_EXPORT void traceShadowAccumulateEnd(unsigned count, FrameBufferInfo* records, unsigned samples,
                                          const miColor* lightValue, const miColor* shadowColor,
                                          miState* state);

/// Called by the shadow shaders for each occluder: multiplies the transmission of the records by its
/// transparency. True while some record still receives light.
ORCA_EXPORT bool applyShadowTransparencyToFrameBuffers(unsigned count, FrameBufferInfo* records,
                                                       const miColor* transparency, miState* state);

} // extern "C"

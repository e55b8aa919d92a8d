// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaRamp.h"

#include <shader.h>

/// What a medium's ramps are looked up with.
enum RampInput : miInteger {
    RAMP_BY_DEPTH = 0, ///< 0 at the surface, 1 in the middle
    RAMP_BY_X = 1,     ///< 0 at -1, 1 at 1 in the shape's space; so the two below
    RAMP_BY_Y = 2,
    RAMP_BY_Z = 3,
    RAMP_BY_NOISE = 4
};

/// Parameters of orcaVelaVolumePrimitive, in declaration order.
struct VolumePrimitiveParameters {
    miInteger shape;        // MediumKind
    miTag placement;        // instance in whose space the shape is; null: the world's
    miScalar coneEndRadius; // of a cone, at z = 1
    miInteger layer;        // VolumeLayer
    miScalar density;       // per scene unit; multiplies the three below
    miColor scattering;
    miColor absorption;
    miColor emission;
    miScalar anisotropy;  // -1 to 1
    miScalar edgeDropoff; // depth over which the density fades in
    miInteger rampInput;  // RampInput
    miScalar noiseAmplitude;
    miScalar noiseFrequency; // cells per unit of the shape's space
    miInteger noiseOctaves;
    miScalar noiseLacunarity;
    miScalar noiseGain;
    miScalar noiseThreshold;
    miVector noiseOffset; // shape's space
    miTag densityMap;     // colour shader whose luminance multiplies the density; null: none
    miTag colorMap;       // colour shader that multiplies scattering and emission; null: none
    int i_densityRamp;    // multiplies the density
    int n_densityRamp;
    RampScalarEntry densityRamp[1];
    int i_emissionRamp; // multiplies the emission
    int n_emissionRamp;
    RampColorEntry emissionRamp[1];
};

extern "C" {
/// Describes a medium to the volume engine that asks for it with its fourth argument.
ORCA_EXPORT miBoolean orcaVelaVolumePrimitive(miColor* result, miState* state,
                                              VolumePrimitiveParameters* record, void* argument);
ORCA_EXPORT int orcaVelaVolumePrimitive_version(void);
} // extern "C"

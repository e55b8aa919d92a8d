// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of orcaVelaVolumeEngine, in declaration order.
struct VolumeEngineParameters {
    int i_primitives;
    int n_primitives;
    miTag primitives[1];     // shaders that describe media and fogs
    miScalar stepSize;       // scene units; 0: by the media's details
    miScalar tolerance;      // optical depth
    miScalar maxDistance;    // scene units: how far rays that meet nothing are followed
    miInteger lightSamples;  // points of a ray at which each light is asked for
    miInteger scatterOrders; // of multiple scattering; 0: single scattering
};

extern "C" {
/// What is in the air along a ray: dims what the ray has brought and adds light that media scatter or emit.
ORCA_EXPORT miBoolean orcaVelaVolumeEngine(miColor* result, miState* state, VolumeEngineParameters* record);
ORCA_EXPORT int orcaVelaVolumeEngine_version(void);
} // extern "C"

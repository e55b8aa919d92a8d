// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"
#include "orcaLightParameters.h"
#include "orcaRamp.h"

#include <shader.h>

struct SpotFogParameters {
    miScalar fogIntensity;
    miTag lightProfile;
};

/// Parameters of orcaVelaSpotLight, in declaration order.
struct SpotLightParameters : DecayParameters, LightParameters, SpotFogParameters, LightUnitParameters {
    miScalar coneAngle;     // degrees, the whole cone
    miScalar penumbraAngle; // degrees; outside the cone, or inside when negative
    miScalar dropoff;       // exponent of the cosine with the axis
    miBoolean useBarnDoors;
    miScalar barnDoorLeft; // degrees from the axis to the door
    miScalar barnDoorRight;
    miScalar barnDoorTop;
    miScalar barnDoorBottom;
    miBoolean useDecayRegions; // light only between the start and the end of a region
    miScalar regionStart1;     // scene units from the light
    miScalar regionEnd1;
    miScalar regionStart2;
    miScalar regionEnd2;
    miScalar regionStart3;
    miScalar regionEnd3;
    miScalar fogSpread;   // how far light fog reaches from the axis
    int i_intensityCurve; // the curves are over the distance in scene units
    int n_intensityCurve;
    RampScalarEntry intensityCurve[1]; // multiplies the intensity
    int i_colorCurve;
    int n_colorCurve;
    RampColorEntry colorCurve[1]; // multiplies the colour
};

extern "C" {
/// Light from a point into a cone, with penumbra, barn doors, slides, fog, a profile and shadows. False
/// outside the cone.
ORCA_EXPORT miBoolean orcaVelaSpotLight(miColor* result, miState* state, SpotLightParameters* record);
ORCA_EXPORT int orcaVelaSpotLight_version(void);
} // extern "C"

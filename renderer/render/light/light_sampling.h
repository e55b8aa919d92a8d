// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Full: points on the light's area. CentreOnly: its origin, as if it were a point light.
enum class AreaSampling { Full, CentreOnly };

/// One sample of a light instance (the interface's loop: `samples` 0 before the first call, counted up here).
/// Lights behind the surface are not culled. Samples for which the light shader returns false are skipped.
/// Colours of a light that was chosen among others come weighted (see LightChooser).
miBoolean sampleLight(miColor& result, miVector& direction, miScalar& cosine, miState* state,
                      miTag lightInstance, miInteger& samples, AreaSampling area);

/// Relative intensity of a light profile from the light toward the state's point; 1 without a profile.
/// `interpolate` false takes the nearest entry of the table.
[[nodiscard]] miScalar sampleLightProfile(miState* state, miTag profile, miBoolean interpolate);

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Average incoming radiance (irradiance / pi) at the state's point over the hemisphere of its normal ('f')
/// or the other side ('b'). Interpolated from the records of the prepass where they cover the point, else
/// from low-discrepancy, cosine-weighted rays whose hits are shaded. `options` null takes the render options.
/// False and black when nothing is gathered: gathering is off, or the nesting of gathers reaches its limit.
miBoolean averageRadiance(miColor& result, miState* state, char face, const miIrrad_options* options);

/// Irradiance: pi times the average radiance, with the render options.
miBoolean irradiance(miColor& result, miState* state, char face);

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/render_context.h"

namespace orca::render {

enum class AreaSampling { Full, CentreOnly };

/// One sample of a light instance (the interface's loop: `samples` 0 before the first call, counted up here).
/// Lights behind the surface are not culled. Samples that the light shader refuses are passed over.
miBoolean sampleLight(miColor& result, miVector& direction, miScalar& cosine, miState* state,
                      miTag lightInstance, miInteger& samples, AreaSampling area);

} // namespace orca::render

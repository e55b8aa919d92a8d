// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Cosine-weighted share of the hemisphere about the request's axis that is occluded within the request's
/// distances: 0 open, 1 fully occluded. False and 0 when ray tracing is off.
miBoolean ambientOcclusion(miScalar& result, miState* state, const miAo_options* request);

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Share of the hemisphere about the request's axis that something covers within its distances,
/// cosine-weighted: 0 open, 1 closed. False and 0 when nothing is traced.
miBoolean ambientOcclusion(miScalar& result, miState* state, const miAo_options* request);

} // namespace orca::render

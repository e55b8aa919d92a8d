// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/gather/gather_cache.h"

namespace orca::render {

// Both cast rays from the state's point over the hemisphere of its normal, or of the other side, and shade
// what they meet. The caller has marked the context as gathering.

/// Average radiance from `rays` low-discrepancy, cosine-weighted rays.
[[nodiscard]] miColor gatherRadiance(RenderContext& context, miState* state, bool back, int rays);

/// A record from about `rays` rays in strata round the normal, with the gradients that the differences
/// between the strata give. Its radius follows the harmonic mean of the distances to what was met, and the
/// gradients, within `radius`.
[[nodiscard]] GatherRecord gatherRecord(RenderContext& context, miState* state, bool back, int rays,
                                        const miRange& radius);

} // namespace orca::render

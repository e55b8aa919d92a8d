// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/gather/gather_cache.h"

namespace orca::render {

// Both cast rays from the state's point over the hemisphere of its normal, or of the opposite direction
// (`back`), and shade their hits. The caller has marked the context as gathering.

/// Average radiance from `rays` low-discrepancy, cosine-weighted rays.
[[nodiscard]] miColor gatherRadiance(RenderContext& context, miState* state, bool back, int rays);

/// How far a record may serve, scene units.
struct RecordRange {
    float least, most;
    float scale; ///< of what follows from the surroundings: below 1 records are closer and more exact
};

/// A record from about `rays` stratified rays, with gradients from the differences between the strata (G.
/// Ward and P. Heckbert, "Irradiance Gradients", 1992). Its radius follows from the harmonic mean distance of
/// the hits and from the gradients, within `range`.
[[nodiscard]] GatherRecord gatherRecord(RenderContext& context, miState* state, bool back, int rays,
                                        const RecordRange& range);

} // namespace orca::render

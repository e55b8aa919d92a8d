// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/checkpoint/render_state.h"
#include "render/context/render_context.h"
#include "render/film/film.h"
#include "render/render_settings.h"

namespace orca::render {

/// What making light maps came to.
struct LightMapOutcome {
    bool complete = true; ///< false: the render was stopped; maps that were not complete stay as they were
    RayCounts counts;
};

/// Runs the light map shaders of all materials that mesh instances show, over the texels that these cover by
/// their first texture space, and leaves the results in the textures that the shaders name, filtered like any
/// other from then on. Every shader sees the textures as they were before those maps that come later in the
/// order of the textures' statements. Of one texture, later instances replace earlier ones where they
/// overlap, and the first triangle of an instance counts. Each texel is the mean of as many samples as a
/// pixel takes at most. The same for any number of threads. What cannot be made is an error.
/// @param parts without gather caches: records are made for what the camera sees
[[nodiscard]] LightMapOutcome makeLightMaps(const FrameParts& parts, Film& film, RenderState& state,
                                            const RenderSettings& settings, int threads);

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/pixel_filter.h"
#include "render/render_context.h"

namespace orca::render {

/// Runs the state shaders that open (operation 0) or close (operation 1) a thread's base state.
void openBaseState(RenderContext& context);
void closeBaseState(RenderContext& context);

/// Renders one sample of a pixel (the sampler has been started for it); afterwards `context.sampleWords`
/// holds the value of every frame buffer. Faults of shaders (exceptions, not-a-number values) are counted and
/// leave black.
/// @param phase what `miQ_SAMPLE_PHASE` answers; passes are written in the image phase alone
inline constexpr int imagePhase = 1;
inline constexpr int gatherPhase = 2; ///< gathering light ahead, and within gathers
void renderEyeSample(RenderContext& context, int pixelX, int pixelY, const PixelFilter::Placement& placement,
                     int phase = imagePhase);

} // namespace orca::render

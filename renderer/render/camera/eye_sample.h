// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/film/pixel_filter.h"

namespace orca::render {

/// Renders one sample of a pixel (the sampler has been started for it); afterwards `context.sampleWords`
/// holds the value of every frame buffer. Faults of shaders (exceptions, values that are no finite numbers)
/// are counted and leave black.
void renderEyeSample(RenderContext& context, int pixelX, int pixelY, const PixelFilter::Placement& placement,
                     SamplePhase phase = imagePhase);

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// One eye sample in rasterizer mode: the hits along the eye ray are shaded front to back, each between its
/// own sample operations, and composited by the opacity that their material set (1 when it set none), until
/// the layers are opaque. Frame-buffer values of the sample are kept across its hits: the pass shaders add to
/// them. With shaded layers in the context, a surface that another sample of these has seen is not shaded
/// again.
void rasterizeEyeSample(RenderContext& context, miColor& color);

} // namespace orca::render

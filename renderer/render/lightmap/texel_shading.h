// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/lightmap/texel_layout.h"
#include "scene/elements/function_element.h"

#include <optional>

namespace orca::render {

/// A shader of a `lightmap` list.
struct LightMapShader {
    enum class Result { Color, Scalar, Vector };
    miTag tag;
    Result result;
};
/// Nothing for a shader whose result is no colour, number or vector and has no member that is one.
[[nodiscard]] std::optional<LightMapShader> lightMapShader(const scene::FunctionElement& shader);

/// Calls a light map shader for a point of a surface: as if it were hit from outside, straight along its
/// shading normal, by a ray of length 0 and type miRAY_LIGHTMAP, when the shutter opens. The raster position
/// is the middle of the texel; everything random is that of sample `index` of this pixel. Numbers become
/// grey, vectors colours. False when the shader delivers nothing: it returns miFALSE, throws or answers no
/// finite number; the latter two are counted for the report.
bool shadeTexel(RenderContext& context, const LightMapShader& shader, const TexelPoint& point, int x, int y,
                unsigned index, miColor& result);

} // namespace orca::render

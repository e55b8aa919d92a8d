// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/frame.h"
#include "render/lightmap/edge_padding.h"
#include "render/lightmap/texel_layout.h"
#include "render/lightmap/texel_shading.h"
#include "scene/elements/texture_element.h"

#include <memory>
#include <vector>

namespace orca::render {

/// A texture to be filled, with what lies over it.
struct LightMap {
    explicit LightMap(scene::TextureElement& target);

    scene::TextureElement& texture;
    TexelLayout layout;
    std::vector<LightMapShader> shaders; ///< that the triangles of the layout name
    TexelColors texels;
};

/// The light maps of a frame, in the order of their textures' statements: for all mesh instances, what their
/// materials' light map shaders name. Faults of the scene are reported, and what they concern is left out.
[[nodiscard]] std::vector<std::unique_ptr<LightMap>> planLightMaps(const Frame& frame);

} // namespace orca::render

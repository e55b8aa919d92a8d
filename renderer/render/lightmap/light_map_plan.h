// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/frame.h"
#include "render/lightmap/edge_padding.h"
#include "render/lightmap/texel_layout.h"
#include "render/lightmap/texel_shading.h"
#include "scene/elements/texture_element.h"

#include <cstdint>
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

/// A light map shader that fills no texture, and the vertices that it is called for.
struct VertexCalls {
    struct Vertex {
        std::uint32_t meshInstance; ///< index into Frame::meshInstances
        std::uint32_t triangle;     ///< the first one with this vertex
        std::uint8_t corner;
    };
    LightMapShader shader;
    std::vector<Vertex> vertices;
};

struct LightMapPlan {
    std::vector<std::unique_ptr<LightMap>> maps; ///< in the order of their textures' statements
    std::vector<VertexCalls> vertexCalls;        ///< in the order of the instances that show their materials
};

/// What the light map shaders of a frame's materials are called for, over all mesh instances. Faults of the
/// scene are reported, and what they concern is left out.
[[nodiscard]] LightMapPlan planLightMaps(const Frame& frame);

} // namespace orca::render

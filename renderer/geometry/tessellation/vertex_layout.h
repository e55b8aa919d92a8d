// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/object_element.h"

#include <cstddef>

namespace orca::geometry {

/// Layout of the vertices of a tessellated surface: positions and normals always, textures as vectors.
[[nodiscard]] inline scene::VertexLayout surfaceVertexLayout(bool derivatives, std::size_t motions,
                                                             std::size_t textures) {
    scene::VertexLayout layout;
    const auto claim = [&](int floats) {
        const int offset = layout.stride;
        layout.stride += floats;
        return offset;
    };
    layout.normal = claim(3);
    if (derivatives) layout.derivatives = claim(6);
    layout.motionCount = static_cast<int>(motions);
    if (motions > 0) layout.motion = claim(3 * layout.motionCount);
    for (std::size_t i = 0; i < textures; ++i) {
        layout.texture.push_back(claim(3));
        layout.textureDimension.push_back(3);
    }
    return layout;
}

} // namespace orca::geometry

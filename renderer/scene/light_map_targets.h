// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/elements/function_element.h"
#include "scene/elements/texture_element.h"

#include <vector>

namespace orca::scene {

/// What one shader of a material's `lightmap` list fills.
struct LightMapTarget {
    const FunctionElement* shader; ///< never null
    TextureElement* texture;       ///< null: the shader names no writable texture
    bool ofVertices;               ///< it has no parameter for a texture, and is called for vertices
};

/// The targets of a `lightmap` list, in the order of its shaders: of each, the first of its texture
/// parameters that is given a writable texture which is no shader.
[[nodiscard]] std::vector<LightMapTarget> lightMapTargets(const Database& database, miTag list);

/// True when a material has a `lightmap` list.
[[nodiscard]] bool hasLightMapShaders(const Database& database);
/// The textures that light map shaders of any material fill, each once, in the order of their tags.
[[nodiscard]] std::vector<TextureElement*> lightMapTextures(const Database& database);

} // namespace orca::scene

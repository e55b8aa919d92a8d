// SPDX-License-Identifier: Apache-2.0
#include "scene/light_map_targets.h"

#include "scene/elements/material_element.h"
#include "scene/shader_list.h"

#include <algorithm>

namespace orca::scene {

namespace {

bool isTexture(const Parameter& parameter) {
    return !parameter.isArray &&
           (parameter.type == miTYPE_COLOR_TEXTURE || parameter.type == miTYPE_SCALAR_TEXTURE ||
            parameter.type == miTYPE_VECTOR_TEXTURE || parameter.type == miTYPE_TEXTURE);
}

std::vector<const MaterialElement*> materialsWithLightMaps(const Database& database) {
    std::vector<const MaterialElement*> materials;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* const material = database.find<MaterialElement>(tag);
        if (material && !material->isTemplate && material->material.lightmap) materials.push_back(material);
    }
    return materials;
}

TextureElement* targetOf(const Database& database, const FunctionElement& shader) {
    const std::vector<Parameter>& parameters = shader.declaration->parameters;
    for (std::size_t i = 0; i < std::min(parameters.size(), shader.values.size()); ++i) {
        const Value& value = shader.values[i];
        if (!isTexture(parameters[i]) || value.kind != Value::Kind::Literal || value.words.empty()) continue;
        auto* const texture = database.find<TextureElement>(value.words.front());
        if (texture && texture->writable && !texture->shader) return texture;
    }
    return nullptr;
}

} // namespace

std::vector<LightMapTarget> lightMapTargets(const Database& database, miTag list) {
    std::vector<LightMapTarget> targets;
    for (const miTag tag : shaderList(database, list)) {
        const auto* const shader = database.find<FunctionElement>(tag);
        const std::vector<Parameter>& parameters = shader->declaration->parameters;
        const bool ofVertices = std::none_of(parameters.begin(), parameters.end(), isTexture);
        targets.push_back({shader, targetOf(database, *shader), ofVertices});
    }
    return targets;
}

bool hasLightMapShaders(const Database& database) {
    return !materialsWithLightMaps(database).empty();
}

std::vector<TextureElement*> lightMapTextures(const Database& database) {
    std::vector<TextureElement*> textures;
    for (const MaterialElement* const material : materialsWithLightMaps(database))
        for (const LightMapTarget& target : lightMapTargets(database, material->material.lightmap))
            if (target.texture) textures.push_back(target.texture);
    std::sort(textures.begin(), textures.end(), [](const auto* a, const auto* b) { return a->tag < b->tag; });
    textures.erase(std::unique(textures.begin(), textures.end()), textures.end());
    return textures;
}

} // namespace orca::scene

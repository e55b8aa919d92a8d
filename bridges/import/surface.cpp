// SPDX-License-Identifier: Apache-2.0
#include "surface.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace orca::bridge {

namespace {

template <class T>
T valueOr(const aiMaterial& material, const char* key, unsigned type, unsigned index, T otherwise) {
    T value = otherwise;
    return material.Get(key, type, index, value) == aiReturn_SUCCESS ? value : otherwise;
}

bool has(const aiMaterial& material, const char* key, unsigned type, unsigned index) {
    float ignored;
    return material.Get(key, type, index, ignored) == aiReturn_SUCCESS;
}

bool isBlack(const aiColor3D& color) {
    return color.r <= 0 && color.g <= 0 && color.b <= 0;
}

/// glTF turns about the upper left corner of the image, counter-clockwise; the reader has put that corner
/// into the translation. KHR_texture_transform: translation * rotation * scale.
void placeRotated(SurfaceMap& map, const aiUVTransform& placed) {
    const float angle = -placed.mRotation, c = std::cos(angle), s = std::sin(angle);
    const aiVector2D &scale = placed.mScaling, &moved = placed.mTranslation;
    const float offsetX = moved.x - 0.5f * scale.x * (1 - c + s);
    const float offsetY = 0.5f * scale.y * (s + c - 1) + 1 - scale.y - moved.y; // downward
    map.rotateDegrees = -angle * 180 / std::numbers::pi_v<float>;
    map.offset = {offsetX + s * scale.y - 0.5f * (1 - c + s), 0.5f * (1 + s + c) - offsetY - c * scale.y};
}

/// The first map of a type.
std::optional<SurfaceMap> mapOf(const aiMaterial& material, aiTextureType type, const std::string& name,
                                const ModelFile& model, Losses& losses) {
    SurfaceMap map;
    aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
    aiTextureMapping mapping = aiTextureMapping_UV;
    if (material.GetTexture(type, 0, &map.texture, &mapping, &map.space, nullptr, nullptr, modes) !=
        aiReturn_SUCCESS)
        return {};
    if (material.GetTextureCount(type) > 1) losses.add("second images of one kind", name);
    if (mapping != aiTextureMapping_UV) losses.add("projections of images other than by coordinates", name);
    const bool isRelief = type == aiTextureType_NORMALS || type == aiTextureType_HEIGHT;
    if (map.space > 0 && isRelief)
        losses.add("directions of relief on other texture spaces than the first", name);
    if (map.space > 3)
        losses.add("images on texture spaces beyond the fourth, which are on the first now", name);
    if (map.space > 3) map.space = 0;
    const auto wrap = [](aiTextureMapMode mode) {
        return mode == aiTextureMapMode_Clamp    ? 1
               : mode == aiTextureMapMode_Mirror ? 2
               : mode == aiTextureMapMode_Decal  ? 3
                                                 : 0;
    };
    map.wrapU = wrap(modes[0]);
    map.wrapV = wrap(modes[1]);
    aiUVTransform placed;
    if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), placed) == aiReturn_SUCCESS) {
        map.repeat = placed.mScaling;
        map.offset = placed.mTranslation;
        if (placed.mRotation != 0 && model.isGltf()) placeRotated(map, placed);
        else if (placed.mRotation != 0) losses.add("rotations of images", name);
        map.isPlaced =
            map.rotateDegrees != 0 || !(map.repeat == aiVector2D(1, 1) && map.offset == aiVector2D(0, 0));
    }
    return map;
}

void readOpacity(Surface& surface, const aiMaterial& material, const ModelFile& model, Losses& losses) {
    surface.opacity = std::clamp(valueOr(material, AI_MATKEY_OPACITY, 1.0f), 0.0f, 1.0f);
    surface.opacityMap = mapOf(material, aiTextureType_OPACITY, surface.name, model, losses);
    aiString mode;
    if (model.isGltf() && material.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == aiReturn_SUCCESS) {
        if (std::strcmp(mode.C_Str(), "OPAQUE") == 0) {
            surface.opacity = 1;
            surface.opacityMap.reset();
        } else {
            surface.opacityMap = surface.baseMap;
            surface.opacityIsAlpha = true;
            if (std::strcmp(mode.C_Str(), "MASK") == 0)
                surface.cutoff = valueOr(material, AI_MATKEY_GLTF_ALPHACUTOFF, 0.5f);
        }
    } else if (surface.opacityMap && surface.baseMap &&
               surface.opacityMap->texture == surface.baseMap->texture) {
        surface.opacityIsAlpha = true;
    }
    surface.transmission = std::clamp(valueOr(material, AI_MATKEY_TRANSMISSION_FACTOR, 0.0f), 0.0f, 1.0f);
    const float index = valueOr(material, AI_MATKEY_REFRACTI, 1.0f);
    if (index > 1.0f) surface.refractiveIndex = index;
    const bool hasBody = valueOr(material, AI_MATKEY_VOLUME_THICKNESS_FACTOR, 0.0f) > 0;
    const float distance = valueOr(material, AI_MATKEY_VOLUME_ATTENUATION_DISTANCE, 0.0f);
    if (hasBody && std::isfinite(distance) && distance > 0) {
        surface.inside = valueOr(material, AI_MATKEY_VOLUME_ATTENUATION_COLOR, surface.inside);
        surface.insideDistance = distance;
    }
    surface.refracts = (surface.transmission > 0 && hasBody) ||
                       (!model.isGltf() && index > 1.0f && surface.opacity < 1 && !surface.opacityMap);
}

/// What lies over the base, and its direction.
void readLayers(Surface& surface, const aiMaterial& material) {
    surface.anisotropy = std::clamp(valueOr(material, AI_MATKEY_ANISOTROPY_FACTOR, 0.0f), 0.0f, 1.0f);
    surface.coat = std::clamp(valueOr(material, AI_MATKEY_CLEARCOAT_FACTOR, 0.0f), 0.0f, 1.0f);
    surface.coatRoughness = valueOr(material, AI_MATKEY_CLEARCOAT_ROUGHNESS_FACTOR, 0.0f);
    surface.sheen = valueOr(material, AI_MATKEY_SHEEN_COLOR_FACTOR, surface.sheen);
    surface.sheenRoughness = valueOr(material, AI_MATKEY_SHEEN_ROUGHNESS_FACTOR, 0.0f);
}

void noteLosses(const aiMaterial& material, const std::string& name, Losses& losses) {
    constexpr std::pair<aiTextureType, const char*> maps[] = {
        {aiTextureType_SPECULAR, "images of the highlight's colour"},
        {aiTextureType_SHININESS, "images of the highlight's size"},
        {aiTextureType_DISPLACEMENT, "displacement images"},
        {aiTextureType_REFLECTION, "reflection images"},
        {aiTextureType_LIGHTMAP, "baked light and occlusion images"},
        {aiTextureType_AMBIENT_OCCLUSION, "baked light and occlusion images"},
        {aiTextureType_CLEARCOAT, "images of clear coats"},
        {aiTextureType_SHEEN, "images of sheen"},
        {aiTextureType_TRANSMISSION, "images of transmission and thickness"}};
    for (const auto& [type, what] : maps)
        if (material.GetTextureCount(type) > 0) losses.add(what, name);
}

} // namespace

Surface surfaceOf(const aiMaterial& material, const ModelFile& model, Losses& losses) {
    Surface surface;
    aiString name;
    material.Get(AI_MATKEY_NAME, name);
    surface.name = name.length > 0 ? name.C_Str() : "material";
    const auto map = [&](aiTextureType type) { return mapOf(material, type, surface.name, model, losses); };

    surface.base = valueOr(material, AI_MATKEY_COLOR_DIFFUSE, surface.base);
    surface.base = valueOr(material, AI_MATKEY_BASE_COLOR, surface.base);
    surface.baseMap = map(aiTextureType_BASE_COLOR);
    if (!surface.baseMap) surface.baseMap = map(aiTextureType_DIFFUSE);
    // An image usually replaces the colour: some exporters write black next to it.
    if (surface.baseMap && isBlack(surface.base)) surface.base = {1, 1, 1};

    surface.specular = valueOr(material, AI_MATKEY_COLOR_SPECULAR, aiColor3D(0, 0, 0));
    surface.exponent = valueOr(material, AI_MATKEY_SHININESS, 0.0f);
    if (has(material, AI_MATKEY_ROUGHNESS_FACTOR) || has(material, AI_MATKEY_METALLIC_FACTOR)) {
        surface.model = Surface::Model::Metallic;
        surface.metalness = std::clamp(valueOr(material, AI_MATKEY_METALLIC_FACTOR, 0.0f), 0.0f, 1.0f);
        surface.roughness = std::clamp(valueOr(material, AI_MATKEY_ROUGHNESS_FACTOR, 0.5f), 0.0f, 1.0f);
        surface.metalnessMap = map(aiTextureType_METALNESS);
        surface.roughnessMap = map(aiTextureType_DIFFUSE_ROUGHNESS);
        if (model.isGltf()) {
            const auto packed = map(aiTextureType_UNKNOWN);
            if (packed) surface.metalnessMap = surface.roughnessMap = packed;
            surface.isPackedMap = surface.metalnessMap.has_value();
            if (packed && surface.baseMap && packed->space != surface.baseMap->space)
                losses.add("images of metalness on another texture space than the colour's", surface.name);
        }
    } else if (!isBlack(surface.specular) && surface.exponent > 1) {
        surface.model = Surface::Model::Phong;
        surface.specular = surface.specular * valueOr(material, AI_MATKEY_SHININESS_STRENGTH, 1.0f);
        surface.reflectivity = std::clamp(valueOr(material, AI_MATKEY_REFLECTIVITY, 0.0f), 0.0f, 1.0f);
    }
    readOpacity(surface, material, model, losses);
    readLayers(surface, material);

    surface.emission = valueOr(material, AI_MATKEY_COLOR_EMISSIVE, aiColor3D(0, 0, 0)) *
                       valueOr(material, AI_MATKEY_EMISSIVE_INTENSITY, 1.0f);
    surface.emissionMap = map(aiTextureType_EMISSIVE);
    if (surface.emissionMap && isBlack(surface.emission) && !model.isGltf()) surface.emission = {1, 1, 1};
    surface.normalMap = map(aiTextureType_NORMALS);
    surface.normalStrength = valueOr(material, AI_MATKEY_GLTF_TEXTURE_SCALE(aiTextureType_NORMALS, 0), 1.0f);
    surface.bumpMap = map(aiTextureType_HEIGHT);
    int shading = 0;
    material.Get(AI_MATKEY_SHADING_MODEL, shading);
    surface.isUnlit = shading == aiShadingMode_NoShading;
    noteLosses(material, surface.name, losses);
    return surface;
}

} // namespace orca::bridge

// SPDX-License-Identifier: Apache-2.0
#include "image/light_map_file.h"

#include "image/image_types.h"
#include "scene/elements/color_profile.h"
#include "scene/elements/file_pattern.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::image {

namespace {

/// Whole floats unless the statement says otherwise: positions and bright light need them.
miImg_type typeOf(const scene::TextureElement& texture) {
    if (!texture.pixelFormat.empty()) return imageType(texture.pixelFormat);
    return texture.kind == scene::TextureElement::Kind::Scalar ? miIMG_TYPE_S_FP : miIMG_TYPE_RGB_FP;
}

/// Colours and numbers; other types are no textures.
bool isTextureType(miImg_type type) {
    const bool isNumber = type >= miIMG_TYPE_A && type <= miIMG_TYPE_S_FP;
    return type != miIMG_TYPE_INVALID && (isColor(type) || isNumber);
}

/// A frame buffer of the texture's pixels, with its file.
Buffer bufferOf(const scene::TextureElement& texture, int frame) {
    Buffer buffer;
    buffer.name = texture.name;
    buffer.primary = true; // bare channel names
    buffer.type = typeOf(texture);
    buffer.components = componentCount(buffer.type);
    buffer.filename = scene::withFrame(texture.file, frame);
    buffer.filetype = texture.fileType;
    return buffer;
}

std::string directoryOf(const scene::TextureElement& texture, const std::string& directory) {
    return directory.empty() ? texture.sceneDirectory : directory;
}

/// Pixels as the file has them.
std::vector<float> wordsOf(const scene::TextureElement& texture, const Buffer& buffer) {
    const auto curve = [&](float value) { return scene::fromLinear(texture.colorProfile, value); };
    const bool multiplies = isColor(buffer.type) && !isOpaqueColor(buffer.type);
    std::vector<float> words;
    words.reserve(texture.baked->size() * static_cast<std::size_t>(buffer.components));
    for (const miColor& color : *texture.baked) {
        if (buffer.components == 1) {
            words.push_back(curve((color.r + color.g + color.b) / 3.0f));
            continue;
        }
        const float weight = multiplies ? color.a : 1.0f;
        words.insert(words.end(),
                     {weight * curve(color.r), weight * curve(color.g), weight * curve(color.b), color.a});
    }
    return words;
}

} // namespace

std::string whyNoLightMap(const scene::TextureElement& texture) {
    if (scene::hasTilePattern(texture.file))
        return "a light map is one image, and its file names tiles (" + texture.file + ")";
    if (!isTextureType(typeOf(texture)))
        return fmt::format(
            "\"{}\" is no pixel format of colours or numbers, such as rgb_fp, rgba_h, rgb or s_fp",
            texture.pixelFormat);
    return {};
}

std::string lightMapPath(const scene::TextureElement& texture, const std::string& directory, int frame) {
    if (texture.file.empty() || !whyNoLightMap(texture).empty()) return {};
    const Buffer buffer = bufferOf(texture, frame);
    const Buffer* const only = &buffer;
    const std::vector<std::string> paths = bufferFilePaths(directoryOf(texture, directory), {&only, 1});
    return paths.empty() ? std::string() : paths.front();
}

bool writeLightMap(const scene::TextureElement& texture, const std::string& directory, int frame,
                   const PictureFrame& like, Log& log) {
    const Buffer buffer = bufferOf(texture, frame);
    const std::vector<float> words = wordsOf(texture, buffer);
    PictureFrame picture = like;
    picture.width = texture.width;
    picture.height = texture.height;
    picture.window = {0, 0, texture.width - 1, texture.height - 1};
    picture.encoding = {};
    const Layer layer{&buffer, words};
    return writeBufferFiles(directoryOf(texture, directory), picture, {&layer, 1}, {}, log);
}

} // namespace orca::image

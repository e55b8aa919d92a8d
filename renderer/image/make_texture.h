// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/color_profile.h"

#include <optional>
#include <string>

namespace orca::image {

/// How a texture file is made.
struct TextureFileSettings {
    enum class Numbers { Byte, Word, Half, Float };
    scene::ColorProfile profile = scene::ColorProfile::Linear; ///< of the image; the file holds linear light
    std::optional<Numbers> numbers; ///< not given: the image's own; of images with a profile, half
    int tileSize = 64;              ///< pixels, each way
};

/// Writes an image as tiles with all levels of its pyramid, each a quarter of the one before: what look-ups
/// then read is as much of it as the picture shows. Bytes, words and colours that are not multiplied by their
/// alpha become a TIFF file (with floats for halves), others an OpenEXR file, whatever the name's ending. The
/// file appears under its name when it is complete. Throws std::runtime_error with the reason when the image
/// cannot be read or the file cannot be written.
void makeTextureFile(const std::string& image, const std::string& file, const TextureFileSettings& settings);

} // namespace orca::image

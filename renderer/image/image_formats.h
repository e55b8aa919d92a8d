// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/color_configuration.h"
#include "image/image_reader.h"
#include "image/make_texture.h"
#include "image/picture_file.h"
#include "image/textures.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orca::image {

/// What the image library does: every format but layered OpenEXR files, and look-ups in textures. It is a
/// module of its own, `orca-image-formats.so`, because the library brings some 250 others with it, and
/// loading those takes longer than a small render.
class ImageFormats {
public:
    virtual ~ImageFormats() = default;

    /// See the functions of the same names in textures.h, image_reader.h, make_texture.h,
    /// color_configuration.h and picture_file.h.
    [[nodiscard]] virtual std::unique_ptr<TextureCache>
    textureCache(Log& log, std::vector<std::string> searchPaths, std::size_t cacheMegabytes) = 0;
    [[nodiscard]] virtual bool isFilm(const std::string& path) = 0;
    [[nodiscard]] virtual std::unique_ptr<ImageReader> openImage(const std::string& path) = 0;
    virtual void makeTextureFile(const std::string& image, const std::string& file,
                                 const TextureFileSettings& settings) = 0;
    [[nodiscard]] virtual std::unique_ptr<ColorConfiguration> colorConfiguration(const std::string& file) = 0;
    /// `format` as `writableFormat` answers.
    virtual bool writePreview(const std::string& path, const std::string& format, const PictureFrame& frame,
                              const Layer& layer, Log& log) = 0;

    /// The library's word for the format of a lower-case extension without a dot; nothing when it cannot
    /// write such files.
    [[nodiscard]] virtual std::optional<std::string> writableFormat(const std::string& extension) = 0;
    /// Writes one buffer at the picture's full size (black outside the window), converted to `type`: in whole
    /// numbers by the frame's encoding. `quality` is 1 to 100, or 0 for the format's own. Formats without
    /// alpha lose it.
    virtual bool writeImageFile(const std::string& path, const std::string& format, const PictureFrame& frame,
                                const Layer& layer, miImg_type type, int quality, Log& log) = 0;
};

/// The module's path: it is installed beside the shader libraries that come with the command. Empty where it
/// is missing.
[[nodiscard]] std::string imageFormatsFile();

/// Loads the module at the first call; safe from any thread. Throws std::runtime_error, at every call, when
/// it is missing or broken.
[[nodiscard]] ImageFormats& imageFormats();

/// The library's word for the format of an extension (with or without dot, in any case) or of a scene's file
/// type word; "openexr" for layered files. Nothing when no such file can be written.
[[nodiscard]] std::optional<std::string> writableFormat(std::string extensionOrWord);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/image_formats.h"

namespace orca::image {

/// By OpenImageIO. Each file of this folder defines the functions that it is named after.
class LibraryFormats final : public ImageFormats {
public:
    // texture_cache.cpp
    std::unique_ptr<TextureCache> textureCache(Log& log, std::vector<std::string> searchPaths,
                                               std::size_t cacheMegabytes) override;
    bool isFilm(const std::string& path) override;
    // file_reader.cpp
    std::unique_ptr<ImageReader> openImage(const std::string& path) override;
    // texture_maker.cpp
    void makeTextureFile(const std::string& image, const std::string& file,
                         const TextureFileSettings& settings) override;
    // color_configuration.cpp
    std::unique_ptr<ColorConfiguration> colorConfiguration(const std::string& file) override;
    // picture_encoder.cpp
    bool writePreview(const std::string& path, const std::string& format, const PictureFrame& frame,
                      const Layer& layer, Log& log) override;
    std::optional<std::string> writableFormat(const std::string& extension) override;
    bool writeImageFile(const std::string& path, const std::string& format, const PictureFrame& frame,
                        const Layer& layer, miImg_type type, int quality, Log& log) override;
};

} // namespace orca::image

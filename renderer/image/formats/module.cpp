// SPDX-License-Identifier: Apache-2.0
#include "image/formats/file_reader.h"
#include "image/formats/picture_encoder.h"
#include "image/formats/texture_cache.h"
#include "image/formats/texture_maker.h"
#include "image/image_formats.h"

#include <utility>

namespace orca::image {

namespace {

class LibraryFormats final : public ImageFormats {
public:
    std::unique_ptr<TextureCache> textureCache(Log& log, std::vector<std::string> searchPaths,
                                               std::size_t cacheMegabytes) override {
        return libraryTextures(log, std::move(searchPaths), cacheMegabytes);
    }
    bool isFilm(const std::string& path) override { return isLibraryFilm(path); }
    std::unique_ptr<ImageReader> openImage(const std::string& path) override { return openFile(path); }
    void makeTextureFile(const std::string& image, const std::string& file,
                         const TextureFileSettings& settings) override {
        makeTexture(image, file, settings);
    }
    bool writePreview(const std::string& path, const std::string& format, const PictureFrame& frame,
                      const Layer& layer, Log& log) override {
        return encodePreview(path, format, frame, layer, log);
    }
    std::optional<std::string> writableFormat(const std::string& extension) override {
        return encodableFormat(extension);
    }
    bool writeImageFile(const std::string& path, const std::string& format, const PictureFrame& frame,
                        const Layer& layer, miImg_type type, int quality, Log& log) override {
        return encodePicture(path, format, frame, layer, type, quality, log);
    }
};

} // namespace

} // namespace orca::image

/// What `imageFormats` looks for in the module.
extern "C" __attribute__((visibility("default"))) orca::image::ImageFormats& orcaImageFormats() {
    static orca::image::LibraryFormats formats;
    return formats;
}

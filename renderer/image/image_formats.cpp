// SPDX-License-Identifier: Apache-2.0
#include "image/image_formats.h"

#include "base/program_folder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <stdexcept>

#include <dlfcn.h>

namespace orca::image {

namespace {

constexpr const char* moduleName = "orca-image-formats.so";

/// The module stays loaded to the end of the process: textures and readers that it made use its code.
ImageFormats& loadedFormats() {
    const std::string path = imageFormatsFile();
    if (path.empty())
        throw std::runtime_error(fmt::format("the module of image formats, {}, is in none of the folders {}",
                                             moduleName, fmt::join(libraryFolders(), ", ")));
    void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        throw std::runtime_error(
            fmt::format("the module of image formats cannot be loaded: {}", ::dlerror()));
    using Formats = ImageFormats& (*)();
    const auto formats = reinterpret_cast<Formats>(::dlsym(module, "orcaImageFormats"));
    if (!formats) throw std::runtime_error(fmt::format("no module of image formats: {}", ::dlerror()));
    return formats();
}

} // namespace

std::string imageFormatsFile() {
    std::error_code ignored;
    for (const std::string& folder : libraryFolders())
        if (std::string path = folder + "/" + moduleName; std::filesystem::exists(path, ignored)) return path;
    return {};
}

ImageFormats& imageFormats() {
    static ImageFormats& formats = loadedFormats();
    return formats;
}

std::optional<std::string> writableFormat(std::string word) {
    if (!word.empty() && word.front() == '.') word.erase(0, 1);
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
    if (word.empty()) return {};
    if (word == "exr") return "openexr";
    if (word == "tifu") word = "tif";
    return imageFormats().writableFormat(word);
}

std::optional<std::string> previewFormat(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const std::optional<std::string> format = writableFormat(extension.empty() ? "png" : extension);
    return format == "openexr" ? std::nullopt : format;
}

bool writePreview(const std::string& path, const PictureFrame& frame, const Layer& layer, Log& log) {
    const auto format = previewFormat(path);
    if (format) return imageFormats().writePreview(path, *format, frame, layer, log);
    log.error("IMG", "cannot write \"{}\": its extension names no 8-bit picture format; use .png", path);
    return false;
}

bool isFilm(const std::string& path) {
    return imageFormats().isFilm(path);
}

std::unique_ptr<ImageReader> openImage(const std::string& path) {
    return imageFormats().openImage(path);
}

std::unique_ptr<ColorConfiguration> colorConfiguration(const std::string& file) {
    return imageFormats().colorConfiguration(file);
}

void makeTextureFile(const std::string& image, const std::string& file, const TextureFileSettings& settings) {
    imageFormats().makeTextureFile(image, file, settings);
}

} // namespace orca::image

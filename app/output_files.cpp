// SPDX-License-Identifier: Apache-2.0
#include "output_files.h"

#include "frames.h"

#include "image/picture_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

bool samePath(const std::string& a, const std::string& b) {
    return fs::path(a).lexically_normal() == fs::path(b).lexically_normal();
}

/// The layered file without -o: named after the scene, in the working directory.
std::string defaultName(const std::string& scene) {
    const std::string stem = scene == "-" ? "picture" : fs::path(scene).stem().string();
    return stem + ".exr";
}

/// Bytes of the layered file before compression, which about halves them.
std::uint64_t uncompressedBytes(const render::Picture& picture) {
    std::uint64_t pixel = 0;
    for (const image::PartDescription& part :
         image::describeParts(image::layeredBuffers(picture.framebuffers())))
        pixel += part.channels.size() * (part.storage == "half" ? 2 : 4);
    return pixel * static_cast<std::uint64_t>(picture.camera().x_resolution) *
           static_cast<std::uint64_t>(picture.camera().y_resolution);
}

} // namespace

OutputFiles::OutputFiles(const CommandLine& command, Log& log) : command_(command), log_(log) {
}

PictureFiles OutputFiles::next(const image::FramebufferSet& buffers, int frame) {
    PictureFiles files;
    if (!command_.writesFiles || command_.pixel) return files;
    if (command_.writesSceneFiles)
        files.sceneFiles = image::bufferFilePaths(command_.fileDirectory, image::layeredBuffers(buffers));
    files.png = withFrame(command_.png, frame);
    files.layerDirectory = withFrame(command_.pngLayers, frame);
    if (!command_.output.empty()) {
        files.layered = withFrame(command_.output, frame);
    } else {
        files.layered = withFrame(defaultName(command_.scenes.front()), frame);
        const bool taken =
            std::any_of(files.sceneFiles.begin(), files.sceneFiles.end(),
                        [&](const std::string& file) { return samePath(file, files.layered); });
        if (taken) files.layered = fs::path(files.layered).replace_extension(".layers.exr").string();
    }
    if (!named_.insert(files.layered).second) {
        const std::string numbered = withFrameAdded(files.layered, frame);
        log_.warning("MAIN",
                     "\"{}\" holds an earlier picture of this run, so frame {} goes to \"{}\"; put #### "
                     "into the name given to -o",
                     files.layered, frame, numbered);
        files.layered = numbered;
        named_.insert(numbered);
    }
    return files;
}

bool OutputFiles::check(const PictureFiles& files, const render::Picture& picture) const {
    bool good = files.layered.empty() || image::canWrite(files.layered, log_, uncompressedBytes(picture) / 2);
    for (const std::string& file : files.sceneFiles) good = image::canWrite(file, log_) && good;
    if (!files.png.empty()) good = image::canWrite(files.png, log_) && good;
    if (!files.layerDirectory.empty()) {
        std::error_code problem; // what could not be made is found missing next
        fs::create_directories(files.layerDirectory, problem);
        good = image::canWrite(files.layerDirectory + "/layer.png", log_) && good;
    }
    if (!command_.statisticsFile.empty()) good = image::canWrite(command_.statisticsFile, log_) && good;
    return good;
}

bool OutputFiles::write(const PictureFiles& files, const render::FrameResult& result) const {
    if (!command_.writesFiles || command_.pixel) return true;
    const std::vector<image::Layer> layers = result.layers();
    const image::PictureFrame& picture = result.frame();
    const auto layout = command_.singlePart ? image::PartLayout::SinglePart : image::PartLayout::MultiPart;
    bool good = image::writeLayeredExr(files.layered, picture, layers, layout, log_);
    if (command_.writesSceneFiles)
        good = image::writeBufferFiles(command_.fileDirectory, picture, layers, log_) && good;
    for (const image::Layer& layer : layers) {
        if (layer.buffer->primary && !files.png.empty())
            good = image::writePreview(files.png, picture, layer, log_) && good;
        if (files.layerDirectory.empty()) continue;
        const std::string name = fmt::format("{}/{}.png", files.layerDirectory, layer.buffer->name);
        good = image::writePreview(name, picture, layer, log_) && good;
    }
    return good;
}

void OutputFiles::list(const PictureFiles& files, const image::FramebufferSet& buffers) {
    if (!files.layered.empty()) {
        fmt::print("{}\n", files.layered);
        for (const image::PartDescription& part : image::describeParts(image::layeredBuffers(buffers)))
            fmt::print("  {:<30} {:<6} {}\n", part.name, part.storage, fmt::join(part.channels, " "));
    }
    for (const std::string& file : files.sceneFiles) fmt::print("{}\n", file);
}

void OutputFiles::printPixel(const render::FrameResult& result) {
    for (const image::Layer& layer : result.layers()) {
        fmt::print("{:<30}", layer.buffer->name);
        for (const float value : layer.pixels) {
            std::uint32_t label;
            std::memcpy(&label, &value, sizeof label);
            if (layer.buffer->type == miIMG_TYPE_TAG) fmt::print(" {}", label);
            else fmt::print(" {:.7g}", value);
        }
        fmt::print("\n");
    }
}

} // namespace orca::app

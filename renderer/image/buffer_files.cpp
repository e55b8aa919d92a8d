// SPDX-License-Identifier: Apache-2.0
#include "image/cryptomatte.h"
#include "image/exr_file.h"
#include "image/file_in_place.h"
#include "image/image_formats.h"
#include "image/image_types.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

/// Files that the scene itself asks for: of framebuffer statements and of output statements.
namespace orca::image {

namespace {

namespace fs = std::filesystem;

/// One buffer and the file that it goes to.
struct Wanted {
    const Buffer* buffer;
    miImg_type type;
    std::string filename, filetype;
    int quality;
    int shadersBefore; ///< -1: all
};

std::vector<Wanted> wantedFiles(std::span<const Buffer* const> buffers) {
    std::vector<Wanted> wanted;
    for (const Buffer* buffer : buffers) {
        if (!buffer->filename.empty())
            wanted.push_back({buffer, buffer->type, buffer->filename, buffer->filetype, buffer->quality, -1});
        for (const OutputFile& output : buffer->outputs)
            wanted.push_back({buffer, output.type, output.filename, output.filetype, output.quality,
                              output.shadersBefore});
    }
    std::erase_if(wanted, [](const Wanted& each) { return each.filetype == "null"; });
    return wanted;
}

/// Name and format of a wanted file.
struct Target {
    std::string path;
    std::string format; ///< word of the image library; "openexr" for layers
    bool fellBack = false;
};

Target targetOf(const std::string& directory, const Wanted& wanted) {
    const fs::path path = fs::path(directory) / wanted.filename; // an absolute name stays as it is
    if (const auto format = writableFormat(path.extension().string())) return {path.string(), *format};
    if (const auto format = writableFormat(wanted.filetype)) return {path.string(), *format};
    return {path.string() + ".exr", "openexr", true};
}

ExrChannel::Storage exrStorage(miImg_type type) {
    switch (storageOf(type)) {
    case Storage::Label: return ExrChannel::Storage::Label;
    case Storage::Float: return ExrChannel::Storage::Float;
    default: return ExrChannel::Storage::Half;
    }
}

/// The layers of a picture, and what they were before output shaders.
class Layers {
public:
    Layers(std::span<const Layer> layers, std::span<const EarlierLayer> earlier) : final_(layers) {
        for (const EarlierLayer& layer : earlier)
            earlier_[{layer.buffer, layer.shadersBefore}] = {layer.buffer, layer.words};
    }
    [[nodiscard]] const Layer& of(const Wanted& wanted) const {
        const auto found = earlier_.find({wanted.buffer, wanted.shadersBefore});
        if (found != earlier_.end()) return found->second;
        return *std::find_if(final_.begin(), final_.end(),
                             [&](const Layer& layer) { return layer.buffer == wanted.buffer; });
    }

private:
    std::span<const Layer> final_;
    std::map<std::pair<const Buffer*, int>, Layer> earlier_;
};

/// A file with a single buffer has the plain channel names that every viewer shows.
ExrPart exrPart(const std::vector<Wanted>& wanted, const Layers& layers, const Metadata& ofIds) {
    ExrPart part;
    if (const std::string& word = wanted.front().buffer->compression; !word.empty())
        part.compression.word = word;
    if (std::any_of(wanted.begin(), wanted.end(),
                    [](const Wanted& each) { return isCryptomatte(*each.buffer); })) {
        part.keyedMetadata = ofIds;
        if (!part.compression.isLossless()) part.compression = {}; // a rounded id is another one
    }
    for (const Wanted& each : wanted) {
        const std::vector<std::string> names =
            wanted.size() == 1 ? bareChannelNames(*each.buffer) : channelNames(*each.buffer);
        for (std::size_t c = 0; c < names.size(); ++c)
            part.channels.push_back({names[c], &layers.of(each), static_cast<int>(c), exrStorage(each.type)});
    }
    return part;
}

} // namespace

std::vector<std::string> bufferFilePaths(const std::string& directory,
                                         std::span<const Buffer* const> buffers) {
    std::vector<std::string> paths;
    for (const Wanted& wanted : wantedFiles(buffers)) {
        std::string path = targetOf(directory, wanted).path;
        if (std::find(paths.begin(), paths.end(), path) == paths.end()) paths.push_back(std::move(path));
    }
    return paths;
}

bool isShownAfter(const Buffer& buffer, int shaderStatements) {
    return std::any_of(buffer.outputs.begin(), buffer.outputs.end(),
                       [&](const OutputFile& output) { return output.shadersBefore == shaderStatements; });
}

bool writeBufferFiles(const std::string& directory, const PictureFrame& frame, std::span<const Layer> layers,
                      std::span<const EarlierLayer> earlier, Log& log) {
    const Layers shown(layers, earlier);
    std::vector<const Buffer*> buffers;
    for (const Layer& layer : layers) buffers.push_back(layer.buffer);

    bool good = true;
    std::map<std::string, std::vector<Wanted>> layersOfExr;
    for (const Wanted& wanted : wantedFiles(buffers)) {
        const Target target = targetOf(directory, wanted);
        if (target.fellBack) {
            const std::string word = wanted.filetype.empty() ? wanted.filename : wanted.filetype;
            log.once(
                "image format " + word,
                {LogLevel::Warning,
                 "IMG",
                 0,
                 fmt::format("frame buffer \"{}\": file format \"{}\" cannot be written; \"{}\" is written "
                             "instead",
                             wanted.buffer->name, word, target.path),
                 {}});
        }
        if (target.format == "openexr") {
            std::vector<Wanted>& sharing = layersOfExr[target.path];
            const bool again = std::any_of(sharing.begin(), sharing.end(), [&](const Wanted& other) {
                return other.buffer == wanted.buffer;
            });
            if (!again) sharing.push_back(wanted);
            continue;
        }
        good = imageFormats().writeImageFile(target.path, target.format, frame, shown.of(wanted), wanted.type,
                                             wanted.quality, log) &&
               good;
    }
    for (const auto& [path, wanted] : layersOfExr) {
        try {
            writeExr(path, frame, {exrPart(wanted, shown, frame.idMetadata)});
            log.write(LogLevel::Progress, "IMG", "wrote \"{}\"", path);
        } catch (const std::exception& failure) {
            log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
            good = false;
        }
    }
    return good;
}

} // namespace orca::image

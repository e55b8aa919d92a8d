// SPDX-License-Identifier: Apache-2.0
#include "layer_arrays.h"

#include "checkpoint_description.h"
#include "color_management.h"
#include "exit_codes.h"
#include "layered_format_words.h"

#include "base/parallel_for.h"
#include "image/picture_file.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace orca::app {

namespace {

using nlohmann::json;

constexpr std::string_view signature = "orca arrays 1 ";
constexpr std::uint64_t dataAlignment = 4096; // a page, so that the layers can be mapped alone
constexpr std::uint64_t layerAlignment = 64;  // a cache line
constexpr std::size_t longestJson = std::size_t{1} << 28;

std::uint64_t roundedUp(std::uint64_t number, std::uint64_t to) {
    return (number + to - 1) / to * to;
}

/// A layer and where its numbers are, in bytes from the first layer on.
struct PlacedLayer {
    image::Layer layer;
    image::PartDescription part;
    std::uint64_t offset, bytes;
};

std::vector<PlacedLayer> placed(const std::vector<image::Layer>& layers, std::uint64_t pixels) {
    std::vector<const image::Buffer*> buffers;
    for (const image::Layer& layer : layers) buffers.push_back(layer.buffer);
    std::vector<PlacedLayer> all;
    std::uint64_t offset = 0;
    for (image::PartDescription& part : image::describeParts(buffers)) {
        const auto layer = std::find_if(layers.begin(), layers.end(),
                                        [&](const auto& each) { return each.buffer == part.buffer; });
        const std::uint64_t bytes = pixels * part.channels.size() * 4; // colours without alpha have three
        all.push_back({*layer, std::move(part), offset, bytes});
        offset = roundedUp(offset + bytes, layerAlignment);
    }
    return all;
}

struct ToJson {
    json operator()(const image::Rational& rational) const {
        return {{"numerator", rational.numerator}, {"denominator", rational.denominator}};
    }
    json operator()(const auto& value) const { return value; }
};

/// Numbers stay whole or fractional, fractions are two numbers in an object, and matrices lists of 16.
json described(const image::Metadata& metadata) {
    json object = json::object();
    for (const auto& [key, value] : metadata) object[key] = std::visit(ToJson{}, value);
    return object;
}

image::Metadata metadataFrom(const json& object) {
    image::Metadata metadata;
    for (const auto& [key, value] : object.items()) {
        if (value.is_string()) metadata[key] = value.get<std::string>();
        else if (value.is_number_integer()) metadata[key] = value.get<int>();
        else if (value.is_number()) metadata[key] = value.get<float>();
        else if (value.is_array()) metadata[key] = value.get<image::Matrix>();
        else metadata[key] = image::Rational{value.at("numerator"), value.at("denominator")};
    }
    return metadata;
}

json described(const PlacedLayer& placed) {
    std::vector<std::string> channels = placed.part.channels;
    for (std::string& channel : channels) channel.erase(0, channel.rfind('.') + 1);
    return {{"name", placed.part.name},
            {"channels", channels},
            {"buffer", placed.part.buffer->name},
            {"type", placed.part.storage == "uint" ? "uint32" : "float32"},
            {"offset", placed.offset}};
}

std::string headOf(const std::vector<PlacedLayer>& layers, const render::FrameResult& result, int frame) {
    const image::PictureFrame& picture = result.frame();
    json list = json::array(), layerMetadata = json::object();
    for (const auto& [name, metadata] : picture.layerMetadata) layerMetadata[name] = described(metadata);
    for (const PlacedLayer& layer : layers) list.push_back(described(layer));
    const json head{{"picture", json::parse(describePicture(result.picture(), {}, frame))},
                    {"metadata", described(picture.metadata)},
                    {"layerMetadata", layerMetadata},
                    {"idMetadata", described(picture.idMetadata)},
                    {"pixelAspect", picture.pixelAspect},
                    {"layers", list}};
    const std::string text = head.dump(-1, ' ', false, json::error_handler_t::replace);
    return fmt::format("{}{}\n{}", signature, text.size(), text);
}

/// Returns 0 or an error number.
int writeAt(int descriptor, const void* data, std::size_t size, std::uint64_t offset) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::pwrite(descriptor, bytes, size, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return written < 0 ? errno : ENOSPC;
        bytes += written;
        offset += static_cast<std::uint64_t>(written);
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

/// Returns 0 or an error number.
int writeLayers(int descriptor, std::uint64_t begin, const std::vector<PlacedLayer>& layers,
                const image::PictureFrame& picture) {
    const auto width = static_cast<std::size_t>(picture.windowWidth());
    const auto height = static_cast<std::size_t>(picture.windowHeight());
    std::atomic<int> failure{0};
    const auto writeRow = [&](std::size_t row, std::vector<float>& words) { // counted from below
        for (const PlacedLayer& placed : layers) {
            const image::Layer& layer = placed.layer;
            const std::size_t channels = placed.part.channels.size();
            words.resize(width * channels);
            const float* from = layer.pixels.data() + row * width * layer.stride();
            for (std::size_t x = 0; x < width; ++x, from += layer.stride())
                std::memcpy(&words[x * channels], from, channels * sizeof(float));
            const std::size_t bytes = words.size() * sizeof(float);
            const int problem =
                writeAt(descriptor, words.data(), bytes, begin + placed.offset + (height - 1 - row) * bytes);
            if (problem != 0) failure = problem;
        }
    };
    constexpr std::size_t rowsPerChunk = 8;
    tbb::task_arena arena(std::max(1, picture.threads));
    arena.execute([&] {
        parallelFor(height, rowsPerChunk, [&](std::size_t first, std::size_t last) {
            std::vector<float> words;
            for (std::size_t row = first; row < last && failure == 0; ++row) writeRow(row, words);
        });
    });
    return failure;
}

/// A picture read back. Throws std::exception for a file that is damaged.
class ReadArrays {
public:
    ReadArrays(const std::string& path, Log& log) : file_(path, std::ios::binary | std::ios::ate) {
        length_ = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file_.tellg()));
        file_.seekg(signature.size());
        std::size_t size = 0;
        file_ >> size;
        if (!file_ || file_.get() != '\n' || size > std::min<std::uint64_t>(longestJson, length_)) damaged();
        std::string text(size, '\0');
        if (!file_.read(text.data(), static_cast<std::streamsize>(size))) damaged();
        begin_ = roundedUp(static_cast<std::uint64_t>(file_.tellg()), dataAlignment);
        const json head = json::parse(text);
        picture_.emplace(head.at("picture").dump(), log);
        frame_ = picture_->frame();
        frame_.metadata = metadataFrom(head.at("metadata"));
        for (const auto& [name, metadata] : head.at("layerMetadata").items())
            frame_.layerMetadata[name] = metadataFrom(metadata);
        frame_.idMetadata = metadataFrom(head.value("idMetadata", json::object()));
        head.at("pixelAspect").get_to(frame_.pixelAspect);
        for (const json& layer : head.at("layers")) take(layer.at("buffer"), layer.at("offset"));
    }

    [[nodiscard]] const image::PictureFrame& frame() const { return frame_; }
    [[nodiscard]] const std::vector<image::Layer>& layers() const { return layers_; }
    [[nodiscard]] const image::FramebufferSet& framebuffers() const { return picture_->framebuffers(); }

private:
    [[noreturn]] static void damaged() { throw std::runtime_error("it is damaged"); }

    void take(const std::string& name, std::uint64_t offset) {
        const image::Buffer* const buffer = picture_->framebuffers().find(name);
        if (!buffer || offset > length_) damaged();
        const auto components = static_cast<std::size_t>(buffer->components);
        const std::size_t channels = image::channelNames(*buffer).size();
        const auto width = static_cast<std::size_t>(frame_.windowWidth());
        const auto height = static_cast<std::size_t>(frame_.windowHeight());
        if (begin_ + offset + std::uint64_t{width} * height * channels * sizeof(float) > length_) damaged();
        std::vector<float>& words = words_.emplace_back(width * height * components, 1.0f); // alpha
        std::vector<float> row(width * channels);
        file_.seekg(static_cast<std::streamoff>(begin_ + offset));
        for (std::size_t y = height; y-- > 0;) { // the top row comes first
            file_.read(reinterpret_cast<char*>(row.data()),
                       static_cast<std::streamsize>(row.size() * sizeof(float)));
            for (std::size_t x = 0; x < width; ++x)
                std::memcpy(&words[(y * width + x) * components], &row[x * channels],
                            channels * sizeof(float));
        }
        if (!file_) damaged();
        layers_.push_back({buffer, words});
    }

    std::ifstream file_;
    std::uint64_t length_ = 0, begin_ = 0;
    std::optional<DescribedPicture> picture_;
    image::PictureFrame frame_{};
    std::vector<std::vector<float>> words_;
    std::vector<image::Layer> layers_;
};

} // namespace

bool writeArrays(int descriptor, const render::FrameResult& result, int frame, Log& log) {
    const image::PictureFrame& picture = result.frame();
    const std::vector<PlacedLayer> layers =
        placed(result.layers(), static_cast<std::uint64_t>(picture.windowWidth()) *
                                    static_cast<std::uint64_t>(picture.windowHeight()));
    const std::string head = headOf(layers, result, frame);
    const std::uint64_t begin = roundedUp(head.size(), dataAlignment);
    const std::uint64_t end = begin + (layers.empty() ? 0 : layers.back().offset + layers.back().bytes);
    // The old content goes first: a failure leaves no head without its layers.
    int failure =
        ::ftruncate(descriptor, 0) == 0 && ::ftruncate(descriptor, static_cast<off_t>(end)) == 0 ? 0 : errno;
    if (failure == 0) failure = writeLayers(descriptor, begin, layers, picture);
    if (failure == 0) failure = writeAt(descriptor, head.data(), head.size(), 0);
    if (failure == 0) return true;
    static_cast<void>(::ftruncate(descriptor, 0));
    log.error("MAIN", "cannot write the layers to file descriptor {} (--arrays-to): {}", descriptor,
              std::strerror(failure));
    return false;
}

bool holdsArrays(const std::string& path) {
    std::string begin(signature.size(), '\0');
    std::ifstream(path, std::ios::binary).read(begin.data(), static_cast<std::streamsize>(begin.size()));
    return begin == signature;
}

int developArrays(const CommandLine& command, Log& log) {
    try {
        ReadArrays arrays(command.developed, log);
        ColorManagement colors(command, log);
        if (!colors.choose()) return exitUsage;
        image::PictureFrame frame = arrays.frame();
        frame.display = colors.display();
        if (const std::string format = textOf(command.format); !format.empty())
            frame.metadata[formatKey] = format;
        frame.threads = command.threads > 0 ? command.threads : tbb::this_task_arena::max_concurrency();
        if (const std::string fault =
                faultOfFormat(command.format, image::layeredBuffers(arrays.framebuffers()));
            !fault.empty())
            throw std::runtime_error("--exr-type: " + fault);
        bool written = command.output.empty() ||
                       image::writeLayeredExr(command.output, frame, arrays.layers(), command.format, log);
        for (const image::Layer& layer : arrays.layers())
            if (layer.buffer->primary && !command.png.empty())
                written = image::writePreview(command.png, frame, layer, log) && written;
        return written ? exitRendered : exitNotWritten;
    } catch (const std::exception& fault) {
        log.error("MAIN", "cannot develop \"{}\": {}", command.developed, fault.what());
        return exitUsage;
    }
}

} // namespace orca::app

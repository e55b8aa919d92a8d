// SPDX-License-Identifier: Apache-2.0
#include "checkpoint_description.h"

#include "render/checkpoint/checkpoint_file.h"
#include "render/film/sample_steps.h"
#include "render/tile_renderer.h"

#include <nlohmann/json.hpp>

#include <array>
#include <utility>

namespace orca::app {

namespace {

using nlohmann::json;

json describe(const image::Buffer& buffer) {
    return {{"name", buffer.name},
            {"type", static_cast<int>(buffer.type)},
            {"source", static_cast<int>(buffer.source)},
            {"filtering", buffer.filtering},
            {"idSlots", buffer.idSlots},
            {"primary", buffer.primary},
            {"user", buffer.user},
            {"premultiplied", buffer.premultiplied},
            {"hidden", buffer.hidden},
            {"compression", buffer.compression}};
}

image::Buffer bufferFrom(const json& described) {
    image::Buffer buffer;
    buffer.name = described.at("name");
    buffer.type = static_cast<miImg_type>(described.at("type").get<int>());
    buffer.source = static_cast<image::BuiltinSource>(described.at("source").get<int>());
    buffer.filtering = described.at("filtering");
    buffer.idSlots = described.value("idSlots", 0);
    buffer.primary = described.at("primary");
    buffer.user = described.at("user");
    buffer.premultiplied = described.at("premultiplied");
    buffer.hidden = described.at("hidden");
    buffer.compression = described.at("compression");
    return buffer;
}

} // namespace

std::string describePicture(const render::Picture& picture, const std::optional<image::SampleRange>& samples,
                            int frame) {
    const miCamera& camera = picture.camera();
    const miOptions& options = picture.options.options;
    const render::PixelWindow window = picture.window();
    json buffers = json::array();
    for (const image::Buffer& buffer : picture.framebuffers().buffers()) buffers.push_back(describe(buffer));
    const image::SampleRange kept = samples.value_or(image::SampleRange{0, 1});
    const json described{
        {"frame", frame},
        {"size", {camera.x_resolution, camera.y_resolution}},
        {"overscan", {picture.options.overscan.across, picture.options.overscan.up}},
        {"window", {window.xl, window.yl, window.xh, window.yh}},
        {"sampleRange", {kept.first, kept.end}},
        {"samples", {options.min_samples, options.max_samples}},
        {"tileSize", options.task_size > 0 ? options.task_size : render::TileRenderer::automaticTileSize},
        {"buffers", std::move(buffers)}};
    return described.dump(-1, ' ', false, json::error_handler_t::replace);
}

struct DescribedPicture::Fields {
    std::array<int, 2> size;
    render::PixelWindow window;
    std::vector<render::SampledArea> areas;
    int tileSize, frame;
    std::size_t blocks;
    std::vector<image::Buffer> buffers;

    static Fields from(const std::string& text) {
        try {
            const json described = json::parse(text);
            const auto size = described.at("size").get<std::array<int, 2>>();
            const auto [across, up] = described.at("overscan").get<std::array<int, 2>>();
            const auto [xl, yl, xh, yh] = described.at("window").get<std::array<int, 4>>();
            const auto samples = described.at("samples").get<std::array<int, 2>>();
            const auto [first, end] = described.at("sampleRange").get<std::array<unsigned, 2>>();
            const render::PixelWindow window{xl, yl, xh, yh}, display{0, 0, size[0] - 1, size[1] - 1};
            constexpr int sizeAtMost = 1 << 30;
            std::vector<image::Buffer> buffers;
            for (const json& buffer : described.at("buffers")) buffers.push_back(bufferFrom(buffer));
            const int tileSize = described.at("tileSize");
            const bool plausible =
                0 <= across && across <= scene::overscanAtMost && 0 <= up && up <= scene::overscanAtMost &&
                1 <= size[0] && size[0] <= sizeAtMost && 1 <= size[1] && size[1] <= sizeAtMost &&
                -across <= xl && xl <= xh && xh < size[0] + across && -up <= yl && yl <= yh &&
                yh < size[1] + up && samples[0] <= samples[1] && samples[0] >= scene::coarsestSamplingLevel &&
                samples[1] <= scene::finestSamplingLevel && tileSize > 0 && buffers.size() > 1 &&
                first < end && end <= render::samplesAt(scene::finestSamplingLevel);
            if (plausible)
                return {size,
                        window,
                        render::sampledAreas(display, {-across, -up, size[0] - 1 + across, size[1] - 1 + up},
                                             window, samples[0], samples[1]),
                        tileSize,
                        described.at("frame"),
                        image::blocksOf({first, end}, render::samplesAt(samples[1])).size(),
                        std::move(buffers)};
        } catch (const json::exception&) { // the same as implausible values
        }
        throw render::CheckpointFault("it does not say what picture it holds");
    }
};

DescribedPicture::DescribedPicture(const std::string& text, Log& log)
    : DescribedPicture(Fields::from(text), log) {
}

DescribedPicture::DescribedPicture(Fields fields, Log& log)
    : window_(fields.window),
      areas_(std::move(fields.areas)),
      tileSize_(fields.tileSize),
      blocks_(fields.blocks),
      frame_{},
      framebuffers_(std::move(fields.buffers), log) {
    frame_.width = fields.size[0];
    frame_.height = fields.size[1];
    frame_.window = {window_.xl, window_.yl, window_.xh, window_.yh};
    frame_.metadata["software"] = "orca-render " ORCA_VERSION;
    frame_.metadata["frame"] = fields.frame;
    frame_.metadata["unfinished"] = "true";
}

} // namespace orca::app

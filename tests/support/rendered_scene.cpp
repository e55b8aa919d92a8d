// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"

#include "build_paths.h"

#include <orcaPassTypes.h>

#include <fmt/format.h>

#include <cstring>
#include <stdexcept>

namespace orca::test {

namespace {

int typeOf(const std::string& layer) {
    for (const PassType& type : PASS_TYPES)
        if (layer == type.name) return type.id;
    throw std::invalid_argument("no pass type is called " + layer);
}

} // namespace

RenderedScene::RenderedScene(const std::string& text, const Settings& settings)
    : log_(LogLevel::None),
      scene_(log_),
      runtime_(scene_.database(), log_),
      textures_(log_, {}),
      session_(scene_.database(), log_, runtime_, textures_) {
    log_.keep(true);
    scene::ParserOptions options;
    options.includePaths = {build_paths::declarations};
    scene::ParserCallbacks callbacks;
    callbacks.link = [&](const std::string& file, const SourceLocation& location) {
        return runtime_.loadLibrary(file, {build_paths::libraries}, location);
    };
    callbacks.render = [&](const scene::RenderRequest& request) {
        const auto elements = render::pictureElements(scene_.database(), request, log_);
        if (!elements) return true;
        render::Picture picture(scene_.database(), *elements, log_);
        picture.options.options.task_size = settings.tileSize;
        if (settings.resolution)
            picture.setResolution(settings.resolution->first, settings.resolution->second);
        auto result = session_.render(std::move(picture), {settings.threads, settings.stop, {}});
        if (result) results_.push_back(std::move(result));
        return true;
    };
    if (settings.includeLibrary && !settings.isFile)
        scene_.parseText(
            "link \"velabase.so\"\nlink \"orca.so\"\n$include <velabase.mi>\n$include <orca.mi>\n",
            "library.mi", options, callbacks);
    if (settings.isFile) scene_.parseFile(text, options, callbacks);
    else scene_.parseText(text, "test.mi", options, callbacks);
    if (!results_.empty()) return;
    std::string logged;
    for (const std::string& complaint : complaints()) logged += "\n  " + complaint;
    throw std::runtime_error("the scene did not render:" + logged);
}

RenderedScene::~RenderedScene() = default;

image::Layer RenderedScene::layer(const std::string& buffer, std::size_t picture) const {
    for (const image::Layer& layer : result(picture).layers())
        if (layer.buffer->name == buffer) return layer;
    throw std::invalid_argument("the picture has no buffer \"" + buffer + "\"");
}

int RenderedScene::width() const {
    return result().film().window().width();
}

int RenderedScene::height() const {
    return result().film().window().height();
}

miColor RenderedScene::pixel(const std::string& buffer, int x, int y) const {
    return pixel(results_.size() - 1, buffer, x, y);
}

miColor RenderedScene::pixel(std::size_t picture, const std::string& buffer, int x, int y) const {
    const image::Layer found = layer(buffer, picture);
    const auto components = static_cast<std::size_t>(found.buffer->components);
    const std::size_t first =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(width()) + static_cast<std::size_t>(x)) *
        found.stride();
    float c[4] = {0, 0, 0, 0};
    for (std::size_t i = 0; i < components && i < 4; ++i) c[i] = found.pixels[first + i];
    return {c[0], c[1], c[2], c[3]};
}

std::uint32_t RenderedScene::label(const std::string& buffer, int x, int y) const {
    const float word = pixel(buffer, x, y).r;
    std::uint32_t label;
    std::memcpy(&label, &word, sizeof label);
    return label;
}

std::vector<float> RenderedScene::words(const std::string& buffer) const {
    return layer(buffer, results_.size() - 1).words();
}

std::vector<std::string> RenderedScene::complaints() const {
    std::vector<std::string> texts;
    for (const LogMessage& message : log_.kept())
        if (message.level <= LogLevel::Warning) texts.push_back(Log::line(message));
    return texts;
}

bool RenderedScene::logged(const std::string& part) const {
    for (const LogMessage& message : log_.kept())
        if (message.text.find(part) != std::string::npos) return true;
    return false;
}

std::string TestScene::text() const {
    std::string counts;
    std::string records;
    std::string buffers;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        int count = 0;
        for (std::size_t i = 0; i < passes.size(); ++i) {
            if (typeOf(passes[i]) != type) continue;
            ++count;
            const std::string flags =
                i < passFlags.size() && !passFlags[i].empty()
                    ? passFlags[i]
                    : "\"includeReflection\" on, \"includeRefraction\" on, \"shadowed\" on, "
                      "\"maxReflectionLevel\" 9, \"maxRefractionLevel\" 9";
            records += fmt::format("{}{{ \"frameBufferName\" \"{}\", {} }}", records.empty() ? "" : ",\n",
                                   passes[i], flags);
            buffers += fmt::format(
                "framebuffer \"{}\" datatype \"rgba_fp\" user on filtering on useopacity on\n", passes[i]);
        }
        counts += fmt::format("{}{}", type == 0 ? "" : ", ", count);
    }
    std::string group;
    for (const std::string& member : members) group += fmt::format(" \"{}\"", member);
    const std::string lens =
        perspective ? "focal 10 aperture 4" : fmt::format("focal infinity aperture {}", viewWidth);
    const std::string block = fmt::format("data \"cam:fbdata\" \"orcaFrameBufferData\" (\n\"magic\" "
                                          "1178760550,\n\"frameBufferInfo\" [\n{}\n],\n"
                                          "\"FrameBufferTypeCounts\" [ {} ] )\nend data\n",
                                          records, counts);
    return fmt::format(
        "options \"opt\"\nobject space\nsamples {}\njitter 0\nfilter box 1 1\ntrace on\nshadow {}\n"
        "trace depth {}\n{}\n"
        "state \"velaBaseState\" ( {} ) \"orcaFrameBufferState\" ( )\nend options\n{}{}"
        "camera \"cam\"\nframebuffer \"main\" datatype \"rgba_fp\" primary on\n{}"
        "resolution {} {} aspect {} {} clip 0.001 1000\n"
        "lens \"orcaFrameBufferLens\" ( )\n{}{}end camera\n{}"
        "instance \"cam_inst\" \"cam\" {} end instance\n"
        "instgroup \"world\" \"cam_inst\"{} end instgroup\n"
        "render \"world\" \"cam_inst\" \"opt\"\n",
        samples, shadow, traceDepth, extraOptions, baseState, passes.empty() ? "" : block, beforeCamera,
        buffers, width, height, static_cast<float>(width) / static_cast<float>(height), lens,
        passes.empty() ? "" : "data \"cam:fbdata\"\n", cameraStatements, contents, camera, group);
}

} // namespace orca::test

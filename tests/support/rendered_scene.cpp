// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"

#include "build_paths.h"

#include <orcaPassTypes.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace orca::test {

namespace {

int typeOf(const std::string& layer) {
    for (const PassType& type : PASS_TYPES)
        if (layer == type.name) return type.id;
    throw std::invalid_argument("no pass type is called " + layer);
}

/// Names of the instances that a text defines.
std::vector<std::string> instancesIn(const std::string& text) {
    std::vector<std::string> names;
    constexpr std::string_view statement = "\ninstance \"";
    const std::string lines = "\n" + text;
    for (std::size_t at = 0; (at = lines.find(statement, at)) != std::string::npos;) {
        at += statement.size();
        names.push_back(lines.substr(at, lines.find('"', at) - at));
    }
    return names;
}

constexpr const char* testShaderDeclarations = R"mi(
link "orca-test-shaders.so"
declare shader color "testSky" ( color "color" default 1 1 1 1 ) apply environment end declare
declare shader color "testHaze" ( color "color" default 1 1 1 1 ) end declare
declare shader color "testPlainLight" ( color "color" default 1 1 1 1 ) end declare
declare shader color "testMirror" ( color "color" default 1 1 1 1 ) end declare
declare shader color "testFlat" ( color "color" default 1 1 1 1 ) apply texture, material end declare
declare shader color "testFoil" ( color "color" default 1 1 1 1 ) end declare
declare shader color "testVertices" ( ) apply lightmap end declare
declare shader geometry "testHairs" ( material "material" ) apply geometry end declare
declare shader geometry "testCards" ( material "material", integer "fault" ) apply geometry end declare
declare shader color "testNotANumber" ( ) end declare
declare shader color "testFails" ( ) end declare
declare shader color "testLightFog" ( array light "lights", scalar "depth" ) version 1 end declare
declare shader color "testRefuses" ( ) end declare
declare shader color "testLensFindings" ( ) end declare
declare shader color "testOcclusion" ( integer "rays" default -1, vector "axis" default 0 0 1,
    scalar "spread" default -2, scalar "scale" default 1, scalar "near" default -1, scalar "far" default -1,
    integer "mode" default -1 ) end declare
declare shader color "testGatherBehind" ( ) end declare
declare shader color "testShowPoint" ( ) end declare
declare shader color "testShowCoordinate" ( ) end declare
declare shader scalar "testSlope" ( vector "slope" ) end declare
declare shader scalar "testDisplace" ( vector "world", vector "camera", vector "object" ) end declare
declare shader struct { scalar "height", color "color", color "a", color "b", color "c", color "d" }
    "testRecord" ( color "color" ) end declare
declare shader struct { vector "unknown", color "diffuse_result", color "result", color "spec_result",
    scalar "refl_result" } "testComponents" ( ) end declare
declare shader color "testLineLength" ( ) apply output end declare
declare shader color "testCall" ( shader "called", boolean "asks" ) end declare
)mi";

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
        if (settings.window) picture.setWindow(*settings.window);
        render::RenderSettings how{settings.threads, settings.stop, settings.progress, settings.checkpoint};
        how.denoise = settings.denoise;
        how.deep = settings.deep;
        auto result = session_.render(std::move(picture), how);
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

RenderedScene::RenderedScene(const TestScene& scene, const Settings& settings)
    : RenderedScene(scene.text(), settings) {
    for (const std::string& complaint : complaints()) ADD_FAILURE() << complaint;
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

void TestScene::addLayers() {
    baseState = "\"additivePasses\" on";
    passes.insert(passes.begin(), "beauty");
    passFlags.resize(passes.size());
    for (const std::string& layer : componentLayers) {
        const bool opaque = layer == "ambient" || layer == "diffuse" || layer == "indirect";
        passes.push_back(layer);
        passFlags.push_back(std::string("\"shadowed\" on") + (opaque ? ", \"weightByOpacity\" on" : ""));
    }
}

std::string TestScene::text() const {
    std::string utilityNames, utilityBuffers, utilityShaders;
    for (const UtilityPass& pass : utilityPasses) {
        const std::size_t index = static_cast<std::size_t>(&pass - utilityPasses.data());
        utilityNames += fmt::format("{}\"{}\"", index ? ", " : "", pass.buffer);
        utilityBuffers +=
            fmt::format("framebuffer \"{}\" datatype \"{}\" user on\n", pass.buffer, pass.datatype);
        const std::size_t open = pass.shader.find('(');
        utilityShaders += fmt::format(
            "\"{}\" ( \"passIndex\" {}, \"contributionIndex\" {} {} )\n", pass.shader.substr(0, open), index,
            index,
            open == std::string::npos ? ""
                                      : ", " + pass.shader.substr(open + 1, pass.shader.size() - open - 2));
    }
    std::string things = contents;
    if (!utilityPasses.empty()) {
        const std::string anchor = "\"orcaVelaShadingEngine\" ( \"surfaceShader\" \"m_surface\" )\n";
        const std::size_t at = things.find(anchor);
        if (at == std::string::npos) throw std::logic_error("the test scene has no material \"m\"");
        things.insert(at + anchor.size(), utilityShaders);
    }
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
    for (const std::string& member : members.empty() ? instancesIn(beforeCamera + contents) : members)
        group += fmt::format(" \"{}\"", member);
    const std::string view =
        perspective ? "focal 10 aperture 4" : fmt::format("focal infinity aperture {}", viewWidth);
    const std::string block =
        fmt::format("data \"cam:fbdata\" \"orcaFrameBufferData\" (\n\"magic\" 1178760550,\n"
                    "\"nonMaterialFrameBuffers\" [ {} ],\n\"frameBufferInfo\" [\n{}\n],\n"
                    "\"FrameBufferTypeCounts\" [ {} ] )\nend data\n",
                    utilityNames, records, counts);
    const bool hasBlock = !passes.empty() || !utilityPasses.empty();
    const bool usesTestShaders =
        (lens + beforeCamera + cameraStatements + contents).find("\"test") != contents.npos;
    return fmt::format(
        "{}options \"opt\"\nobject space\nsamples {}\njitter 0\nfilter box 1 1\ntrace on\nshadow {}\n"
        "trace depth {}\n{}\n"
        "state \"velaBaseState\" ( {} ) \"orcaFrameBufferState\" ( )\nend options\n{}{}"
        "camera \"cam\"\nframebuffer \"main\" datatype \"rgba_fp\" primary on\n{}"
        "resolution {} {} aspect {} {} clip 0.001 1000\n"
        "{}\n{}{}end camera\n{}"
        "instance \"cam_inst\" \"cam\" {} end instance\n"
        "instgroup \"world\" \"cam_inst\"{} end instgroup\n"
        "render \"world\" \"cam_inst\" \"opt\"\n",
        usesTestShaders ? testShaderDeclarations : "", samples, shadow, traceDepth, extraOptions, baseState,
        hasBlock ? block : "", beforeCamera, utilityBuffers + buffers, width, height,
        static_cast<float>(width) / static_cast<float>(height), view, lens,
        hasBlock ? "data \"cam:fbdata\"\n" : "", cameraStatements, things, camera, group);
}

float difference(const miColor& a, const miColor& b) {
    const auto one = [](float x, float y) { return std::abs(x - y) / std::max(1.0f, std::abs(y)); };
    return std::max({one(a.r, b.r), one(a.g, b.g), one(a.b, b.b)});
}

void expectColor(const miColor& seen, const miColor& expected, float tolerance, const std::string& what) {
    EXPECT_LE(difference(seen, expected), tolerance)
        << what << ": " << seen.r << ' ' << seen.g << ' ' << seen.b << ", not " << expected.r << ' '
        << expected.g << ' ' << expected.b;
}

miColor operator+(const miColor& a, const miColor& b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
}

void expectLayersAddUp(const RenderedScene& picture, const std::vector<std::string>& layers,
                       float tolerance) {
    picture.eachPixel([&](int x, int y) {
        const miColor seen = picture.pixel("main", x, y);
        expectColor(picture.pixel("beauty", x, y), seen, tolerance, "beauty");
        miColor sum{};
        for (const std::string& layer : layers) sum = sum + picture.pixel(layer, x, y);
        expectColor(sum, seen, tolerance, "sum of the layers");
    });
}

} // namespace orca::test

// SPDX-License-Identifier: Apache-2.0
#include "verification.h"

#include "verify/law_check.h"

#include "scene/elements/function_element.h"
#include "scene/elements/options_element.h"
#include "scene/elements/string_element.h"
#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <variant>

namespace orca::app {

namespace {

constexpr const char* module = "PASS";

struct ToText {
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(int number) const { return fmt::format("{}", number); }
    std::string operator()(float number) const { return fmt::format("{}", number); }
    std::string operator()(const image::Rational& number) const {
        return fmt::format("{}/{}", number.numerator, number.denominator);
    }
    std::string operator()(const image::Matrix& matrix) const {
        return fmt::format("{}", fmt::join(matrix, " "));
    }
};

MetadataTexts textsOf(const image::Metadata& metadata) {
    MetadataTexts texts;
    for (const auto& [key, value] : metadata) texts[key] = std::visit(ToText{}, value);
    return texts;
}

/// A parameter that is no connection; nothing where the declaration has none of that name.
const scene::Value* valueOf(const scene::FunctionElement& shader, const char* name) {
    const std::vector<scene::Parameter>& parameters = shader.declaration->parameters;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].name == name && shader.values[i].words.size() == 1) return &shader.values[i];
    return nullptr;
}

bool isOn(const scene::FunctionElement& shader, const char* parameter) {
    const scene::Value* const value = valueOf(shader, parameter);
    return value && value->words.front() != 0;
}

std::string stringOf(const scene::Database& database, const scene::FunctionElement& shader,
                     const char* parameter) {
    const scene::Value* const value = valueOf(shader, parameter);
    const auto* const text = value ? database.find<scene::StringElement>(value->words.front()) : nullptr;
    return text ? text->text : std::string();
}

PictureView viewOf(const render::FrameResult& result) {
    const image::PictureFrame& frame = result.frame();
    PictureView view{frame.window.xl,
                     frame.height - 1 - frame.window.yh,
                     frame.windowWidth(),
                     frame.windowHeight(),
                     true,
                     {},
                     textsOf(frame.metadata),
                     {}};
    for (const image::Layer& layer : result.layers()) {
        if (layer.buffer->type == miIMG_TYPE_TAG) continue; // whole numbers
        const auto own = frame.layerMetadata.find(layer.buffer->name);
        if (layer.buffer->primary) view.primary = layer.buffer->name;
        view.layers.push_back({layer.buffer->name, layer.buffer->components, layer.pixels.data(),
                               layer.stride(), false, layer.buffer->filtering,
                               own == frame.layerMetadata.end() ? MetadataTexts() : textsOf(own->second)});
    }
    return view;
}

} // namespace

void describeSums(const scene::Database& database, const scene::OptionsElement& options,
                  image::PictureFrame& frame) {
    image::Metadata& metadata = frame.metadata;
    const miOptions& record = options.options;
    metadata["traceDepth"] =
        fmt::format("{} {} {}", record.reflection_depth, record.refraction_depth, record.trace_depth);
    for (const miTag tag : scene::shaderList(database, record.state_func)) {
        const auto* const shader = database.find<scene::FunctionElement>(tag);
        if (!shader) continue;
        if (shader->declaration->name == "velaBaseState")
            metadata["additivePasses"] = isOn(*shader, "additivePasses") ? "on" : "off";
        if (shader->declaration->name == "orcaPassDifference")
            frame.layerMetadata[stringOf(database, *shader, "frameBuffer")]["passSubtracts"] =
                stringOf(database, *shader, "subtracted");
    }
}

bool verifyPasses(const render::FrameResult& result, Log& log) {
    const PictureView picture = viewOf(result);
    const PictureCheck check = checkPicture(picture);
    for (const std::string& line : reportLines(picture, check, Report::Violations))
        log.error(module, "{}", line);
    for (const std::string& line : reportLines(picture, check, Report::Rest)) log.info(module, "{}", line);
    return check.holds();
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "render/output_shaders.h"

#include "render/context/render_context.h"
#include "scene/elements/elements.h"
#include "shading/shader_exceptions.h"
#include "shading/shader_runtime.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace orca::render {

namespace {

/// The layers that files show before the next statement.
void keepShown(FrameResult& result, int statements) {
    for (const image::Layer& layer : result.layers())
        if (image::isShownAfter(*layer.buffer, statements))
            result.earlier.push_back({layer.buffer, statements, layer.words()});
}

std::string nameOf(const scene::Database& database, miTag shader) {
    const auto* const function = database.find<scene::FunctionElement>(shader);
    return function ? function->declaration->name : std::string();
}

} // namespace

std::size_t OutputImages::bufferOf(int type) const {
    const image::FramebufferSet& set = result_.picture().framebuffers();
    const std::vector<image::Buffer>& buffers = set.buffers();
    if (type >= miIMG_TYPE_USER(0)) {
        std::size_t index = 0;
        const std::string name = fmt::format("fb{}", type - miIMG_TYPE_USER(0));
        return set.get_index(name.c_str(), index) ? index : 0;
    }
    if (type >= miIMG_TYPE_BUFFER(0)) {
        const auto index = static_cast<std::size_t>(type - miIMG_TYPE_BUFFER(0));
        return index < buffers.size() ? index : 0;
    }
    const image::BuiltinSource kind = image::builtinSourceOf(static_cast<miImg_type>(type));
    if (kind == image::BuiltinSource::None) return 0;
    const auto holds = [&](std::size_t index) { return image::builtinSourceOf(buffers[index].type) == kind; };
    const auto named = std::find_if(statement_->buffers.begin(), statement_->buffers.end(), holds);
    if (named != statement_->buffers.end()) return *named;
    if (kind == image::BuiltinSource::Color) return static_cast<std::size_t>(set.primaryIndex());
    for (std::size_t i = 1; i < buffers.size(); ++i)
        if (!buffers[i].user && holds(i)) return i;
    return 0;
}

miImg_image* OutputImages::open(int type, const std::string& shader) {
    const std::size_t index = bufferOf(type);
    if (index == 0) {
        log_.error("RNDR",
                   "output shader \"{}\" opens an image of type {}, and neither its output statement nor the "
                   "camera has a frame buffer for it",
                   shader, type);
        return nullptr;
    }
    Opened& opened = images_[index];
    ++opened.count;
    const image::Buffer& buffer = result_.picture().framebuffers().buffers()[index];
    const image::PictureFrame& frame = result_.frame();
    miImg_image& image = opened.image;
    image.width = frame.width;
    image.height = frame.height;
    image.xl = frame.window.xl;
    image.yl = frame.window.yl;
    image.xh = frame.window.xh;
    image.yh = frame.window.yh;
    image.type = buffer.type;
    image.components = buffer.components;
    image.first = result_.film().finished(buffer);
    image.stride = result_.film().pixelWords();
    return &image;
}

bool OutputImages::close(int type) {
    const auto opened = images_.find(bufferOf(type));
    if (opened == images_.end() || opened->second.count == 0) return false;
    --opened->second.count;
    return true;
}

void OutputImages::closeAll(const std::string& shader) {
    for (auto& [index, opened] : images_) {
        if (opened.count > 0)
            log_.warning("RNDR", "output shader \"{}\" has not closed the image of frame buffer \"{}\"",
                         shader, result_.picture().framebuffers().buffers()[index].name);
        opened.count = 0;
    }
}

void OutputImages::mark(std::vector<std::uint8_t>& written) const {
    for (const auto& [index, opened] : images_)
        if (index < written.size()) written[index] = 1;
}

bool runOutputShaders(const Frame& frame, FrameResult& result, std::span<const ContourSegment> contours,
                      std::vector<std::uint8_t>& written) {
    const std::vector<image::OutputShaders>& statements = result.picture().framebuffers().outputShaders();
    if (statements.empty()) return true;
    OutputImages images(result, frame.log);
    RenderContext context(frame, 0);
    context.resetBase();
    context.base.type = miRAY_OUTPUT;
    context.outputImages = &images;
    int done = 0;
    for (const image::OutputShaders& statement : statements) {
        if (frame.stopped()) return false;
        keepShown(result, done++);
        images.begin(statement);
        context.contours = statement.wantsContours ? contours : std::span<const ContourSegment>();
        for (const miTag shader : statement.shaders) {
            context.nextContour = 0;
            miColor unused{};
            miBoolean delivered = miFALSE;
            const bool returned = shading::withoutShaderExceptions(context, [&] {
                delivered = frame.runtime.callOne(&unused, miSHADER_OUTPUT, &context.base, shader);
            });
            if (returned && !delivered)
                frame.runtime.countFault(shader, shading::ShaderRuntime::Fault::ReturnedFalse);
            images.closeAll(nameOf(frame.database, shader));
        }
    }
    images.mark(written);
    return !frame.stopped();
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/camera/eye_sample.h"

#include "image/id_table.h"
#include "render/camera/eye_ray.h"
#include "render/camera/rasterizer.h"
#include "render/camera/state_shaders.h"
#include "render/context/scene_ids.h"
#include "render/context/seen_surfaces.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace orca::render {

namespace {

/// Without branches and in integers, so that it runs over many words at a time.
bool anyNotFinite(const std::vector<float>& words, int first, int count) {
    constexpr std::uint32_t magnitude = 0x7fffffffu;
    constexpr std::uint32_t carryOfFullExponent = 0x00800000u;
    std::uint32_t carries = 0;
    for (int w = first; w < first + count; ++w)
        carries |= (std::bit_cast<std::uint32_t>(words[static_cast<std::size_t>(w)]) & magnitude) +
                   carryOfFullExponent;
    return (carries & ~magnitude) != 0;
}

/// A value that is no number would spread over a whole picture in compositing: black instead, and a report.
void dropNotFinite(RenderContext& context) {
    for (const image::Buffer& buffer : context.frame.framebuffers.buffers()) {
        if (buffer.type == miIMG_TYPE_TAG ||
            !anyNotFinite(context.sampleWords, buffer.sampleOffset, buffer.components))
            continue;
        std::fill_n(context.sampleWords.begin() + buffer.sampleOffset, buffer.components, 0.0f);
        context.frame.log.once(
            "render: not a number in " + buffer.name,
            {LogLevel::Warning,
             "RNDR",
             context.base.thread,
             "frame buffer \"" + buffer.name +
                 "\": a shader wrote a value that is no finite number; black is kept instead",
             {}});
        context.runtime.countFault(context.primary.shader, shading::ShaderRuntime::Fault::NotANumber);
    }
}

/// The weights of the ids that the sample sees, from the nearest surface on.
void fillIds(const RenderContext& context, const image::Buffer& buffer, float* table) {
    if (!context.frame.ids || !context.seen) return;
    for (const SeenSurface& surface : context.seen->surfaces()) {
        const float id = context.frame.ids->of(buffer.source, surface);
        if (id != 0.0f && surface.weight != 0.0f)
            image::addId(table, static_cast<std::size_t>(buffer.idSlots), id, surface.weight);
    }
}

/// Built-in buffers get what the renderer knows of the first hit.
void fillBuiltinBuffers(RenderContext& context, const miColor& color) {
    const PrimaryHit& primary = context.primary;
    for (const image::Buffer* buffer : context.frame.builtinBuffers) {
        float* words = context.sampleWords.data() + buffer->sampleOffset;
        switch (buffer->source) {
        case image::BuiltinSource::None:
        case image::BuiltinSource::Contour:
        case image::BuiltinSource::Variance:
        case image::BuiltinSource::Samples: break; // when all samples are done
        case image::BuiltinSource::Color: std::memcpy(words, &color, sizeof color); break;
        case image::BuiltinSource::Alpha: *words = color.a; break;
        case image::BuiltinSource::Intensity: {
            const miColor& weight = context.frame.options.luminance_weight;
            *words = color.r * weight.r + color.g * weight.g + color.b * weight.b;
            break;
        }
        case image::BuiltinSource::Depth: *words = primary.depth; break;
        case image::BuiltinSource::Normal: std::memcpy(words, &primary.normal, sizeof primary.normal); break;
        case image::BuiltinSource::Motion: std::memcpy(words, &primary.motion, sizeof primary.motion); break;
        case image::BuiltinSource::Label: std::memcpy(words, &primary.label, sizeof primary.label); break;
        case image::BuiltinSource::Coverage: *words = primary.hit ? 1.0f : 0.0f; break;
        case image::BuiltinSource::CryptoObject:
        case image::BuiltinSource::CryptoMaterial:
        case image::BuiltinSource::CryptoAsset:
            if (buffer->idSlots > 0) fillIds(context, *buffer, words);
            break;
        }
    }
}

/// Shades the first hit, or what the lens shaders make of it, between the sample's state shader calls.
void shadeEyeSample(RenderContext& context, miColor& color) {
    miBoolean delivered = miTRUE;
    callStateShaders(context, miSHADERSTATE_SAMPLE_INIT, color, delivered);
    delivered = traceThroughLenses(context, color);
    callStateShaders(context, miSHADERSTATE_SAMPLE_EXIT, color, delivered);
}

} // namespace

void renderEyeSample(RenderContext& context, int pixelX, int pixelY, const PixelFilter::Placement& placement,
                     SamplePhase phase) {
    const Frame& frame = context.frame;
    ++context.counts.samples;
    context.resetBase();
    std::fill(context.sampleWords.begin(), context.sampleWords.end(), 0.0f);
    context.primary = {};
    context.depth = 0;
    context.eyeStart = 0.0f;
    context.skipInstance = context.skipTriangle = geometry::nothing;
    context.samplePhase = phase;
    context.sampleMoving = frame.moves() && frame.options.motion;
    context.inEyeSample = phase == imagePhase;

    miState& state = context.base;
    state.raster_x = static_cast<float>(pixelX) + 0.5f + placement.x;
    state.raster_y = static_cast<float>(pixelY) + 0.5f + placement.y;
    const float open = frame.options.shutter_delay;
    const float close = frame.options.shutter;
    state.time =
        frame.options.motion && close > open ? open + (close - open) * context.sampler.eye(EyeTime) : open;
    setEyeRay(context);
    if (context.seen) context.seen->begin();

    miColor color{};
    const bool finished = withoutShaderExceptions(context, [&] {
        if (frame.options.scanline == miSCANLINE_RASTERIZER) rasterizeEyeSample(context, color);
        else shadeEyeSample(context, color);
    });
    if (!finished) color = {};
    if (context.seen && !finished) context.seen->begin(); // nothing, not what it saw until then
    if (context.seen) context.seen->end(color);
    context.store.endSample();

    std::memcpy(context.sampleWords.data() + frame.primaryBuffer.sampleOffset, &color, sizeof color);
    fillBuiltinBuffers(context, color);
    if (anyNotFinite(context.sampleWords, 0, static_cast<int>(context.sampleWords.size())))
        dropNotFinite(context);
    context.inEyeSample = false;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/camera/rasterizer.h"

#include "geometry/ray_origin.h"
#include "render/camera/eye_ray.h"
#include "render/camera/state_shaders.h"
#include "render/context/seen_surfaces.h"
#include "render/context/shaded_layers.h"

#include <algorithm>
#include <optional>

namespace orca::render {

namespace {

constexpr int maxLayers = 256;
constexpr float closed = 1.0f - 1e-4f; // opacity beyond which what is behind is invisible

/// The most recent state at the end of the eye ray.
const miState& eyeHit(const RenderContext& context) {
    const miState* state = &context.base;
    while (state->child && state->child->type == miRAY_EYE) state = state->child;
    return *state;
}

/// Adds a layer behind those in `sum`. Its colour is attenuated by the transmittance of what is in front, its
/// alpha by what these leave uncovered: a surface covers as much as its own alpha says, whatever its opacity,
/// so that the sum is 1 at most.
void composite(miColor& sum, miColor& transmitted, const miColor& layer, const miColor& opacity) {
    const float coverage = std::clamp(layer.a, 0.0f, 1.0f);
    sum.r += transmitted.r * layer.r;
    sum.g += transmitted.g * layer.g;
    sum.b += transmitted.b * layer.b;
    sum.a += transmitted.a * coverage;
    transmitted.r *= 1.0f - opacity.r;
    transmitted.g *= 1.0f - opacity.g;
    transmitted.b *= 1.0f - opacity.b;
    transmitted.a *= 1.0f - coverage;
}

/// Multiplies what a layer has added to the buffers that are weighted by opacity with the transmittance of
/// the layers in front. Of the background, behind the last surface, these buffers alone keep anything; its
/// alpha is at most the luminance of that transmittance. Alphas of surfaces are composited by their writers.
void weightByOpacity(RenderContext& context, const miColor& transmitted, bool isBackground) {
    std::vector<float>& words = context.sampleWords;
    std::vector<float>& before = context.wordsBeforeLayer;
    const float weights[] = {transmitted.r, transmitted.g, transmitted.b};
    for (const image::Buffer* buffer : context.frame.opacityWeighted)
        for (int c = 0; c < 3; ++c) {
            const auto word = static_cast<std::size_t>(buffer->sampleOffset + c);
            words[word] = before[word] + weights[c] * (words[word] - before[word]);
        }
    if (!isBackground) return;
    const miColor& luminance = context.frame.options.luminance_weight;
    const float share = luminance.r * weights[0] + luminance.g * weights[1] + luminance.b * weights[2];
    words.swap(before);
    for (const image::Buffer* buffer : context.frame.opacityWeighted) {
        const auto color = static_cast<std::size_t>(buffer->sampleOffset);
        std::copy_n(before.begin() + buffer->sampleOffset, 3, words.begin() + buffer->sampleOffset);
        if (buffer->components > 3) words[color + 3] += std::min(before[color + 3] - words[color + 3], share);
    }
}

/// The layers of an eye sample so far.
struct Layers {
    miColor color{}; ///< composited
    miColor transmitted{1.0f, 1.0f, 1.0f, 1.0f};
    bool isLast = false; ///< nothing is seen behind them
};

/// Sets the context up to trace the next layer, with the same ray and decisions of lens shaders as for the
/// first: these leave their own ray in the base state.
void beginLayer(RenderContext& context) {
    context.base.scanline = context.base.rast_compose = miTRUE;
    context.depth = 0;
    context.base.child = nullptr;
    context.sampler.restart();
    setEyeRay(context);
}

/// The surface that is the next layer; none for the background and lights, and where lens shaders mix several
/// rays.
std::optional<RayEnd> lookForLayer(RenderContext& context, ShadedLayers& shaded) {
    beginLayer(context);
    shaded.beginLook();
    miColor unused{};
    traceThroughLenses(context, unused);
    return shaded.endLook();
}

/// Shades the next layer and composites it behind `layers`.
void shadeLayer(RenderContext& context, Layers& layers, bool isFirst) {
    beginLayer(context);
    const bool weighs = !context.frame.opacityWeighted.empty();
    context.holdsOpacity = true;
    context.opacitySet = false;
    if (weighs) context.wordsBeforeLayer = context.sampleWords;

    miColor color{};
    miBoolean delivered = miTRUE;
    callStateShaders(context, miSHADERSTATE_SAMPLE_INIT, color, delivered);
    delivered = traceThroughLenses(context, color);
    const bool hit = context.base.child && eyeHit(context).instance != miNULLTAG;
    // The background is part of the picture; passes that are not weighted take it only where no surface is in
    // front.
    const bool isBackground = !hit && !isFirst;
    if (!isBackground || weighs) callStateShaders(context, miSHADERSTATE_SAMPLE_EXIT, color, delivered);
    if (weighs) weightByOpacity(context, layers.transmitted, isBackground);
    context.holdsOpacity = false;

    if (context.seen) context.seen->endLayer(layers.transmitted);
    const miColor solid{1.0f, 1.0f, 1.0f, 1.0f};
    composite(layers.color, layers.transmitted, delivered ? color : miColor{},
              hit && context.opacitySet ? context.opacity : solid);
    const miColor& transmitted = layers.transmitted;
    layers.isLast = !hit || 1.0f - std::max({transmitted.r, transmitted.g, transmitted.b}) > closed;
}

void keep(const RenderContext& context, const Layers& layers, ShadedLayers::Layer& kept) {
    kept.color = layers.color;
    kept.transmitted = layers.transmitted;
    kept.isLast = layers.isLast;
    kept.words = context.sampleWords;
    kept.primary = context.primary;
    if (context.seen) kept.seen.assign(context.seen->surfaces().begin(), context.seen->surfaces().end());
}

void take(const ShadedLayers::Layer& kept, RenderContext& context, Layers& layers) {
    layers = {kept.color, kept.transmitted, kept.isLast};
    context.sampleWords = kept.words;
    context.primary = kept.primary;
    if (context.seen) context.seen->takeLayers(kept.seen);
}

/// The next eye rays start behind the layer that was found last.
void continueBehind(RenderContext& context) {
    const miState& front = eyeHit(context);
    context.eyeStart = geometry::distancePastHit(front.org, static_cast<float>(front.dist));
    context.skipInstance = front.hit_instance;
    context.skipTriangle = front.hit_triangle;
}

} // namespace

void rasterizeEyeSample(RenderContext& context, miColor& color) {
    Layers layers;
    ShadedLayers*& shaded = context.shadedLayers;
    ShadedLayers::Place known = ShadedLayers::none;
    for (int count = 0; count < maxLayers && !layers.isLast; ++count) {
        if (count > 0) continueBehind(context);
        const std::optional<RayEnd> end = shaded ? lookForLayer(context, *shaded) : std::nullopt;
        if (!end) shaded = nullptr; // nor anything behind it
        const ShadedLayers::Place again = end ? shaded->find(known, *end) : ShadedLayers::none;
        if (again != ShadedLayers::none) {
            known = again;
            take((*shaded)[known], context, layers);
            continue;
        }
        shadeLayer(context, layers, count == 0);
        if (!end) continue;
        keep(context, layers, shaded->add(known, *end));
        known = shaded->last();
    }
    color = layers.color;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "image/framebuffers.h"

#include "render/context/render_context.h"
#include "shading/active_renderer.h"

#include <shader.h>

#include <cstring>
#include <memory>

using orca::image::Buffer;
using orca::render::RenderContext;
using orca::render::renderContextOf;

namespace {

/// A collection that no camera uses, made by a shader.
struct LooseCollection final : orca::scene::Element {
    explicit LooseCollection(orca::Log& log) : Element(miSCENE_FRAMEBUFFERS), framebuffers(log) {}
    void* record() override { return static_cast<mi::shader_v3::Framebuffer*>(&framebuffers); }

    orca::image::FramebufferSet framebuffers;
};

/// A picture's buffers are fixed once it renders, so the object keeps nothing of its own.
class ShaderInterface final : public mi::shader_v3::Interface {
public:
    void release() override {}

    const mi::shader_v3::Framebuffer* getFramebuffers(miTag collection) override {
        return editFramebuffers(collection);
    }

    mi::shader_v3::Framebuffer* editFramebuffers(miTag collection) override {
        auto* database = orca::shading::activeRenderer().database;
        auto* element = database ? database->get(collection) : nullptr;
        if (!element || element->type != miSCENE_FRAMEBUFFERS) return nullptr;
        return static_cast<mi::shader_v3::Framebuffer*>(element->record());
    }

    void releaseFramebuffers(const mi::shader_v3::Framebuffer*) override {}

    miTag createFramebuffer() override {
        const auto& active = orca::shading::activeRenderer();
        return active.database ? active.database->add(std::make_unique<LooseCollection>(*active.log))
                               : miNULLTAG;
    }
};

constexpr int interfaceVersion = 3;

/// A context has a mark for every buffer, in index order.
bool isBuffer(const RenderContext& context, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < context.written.size();
}

/// Copies a buffer's value; the few sizes that there are compile to plain moves, and nearly all are colours.
void copyValue(void* to, const void* from, int words) {
    if (words == 4) [[likely]]
        std::memcpy(to, from, 16);
    else if (words == 1) std::memcpy(to, from, 4);
    else if (words == 3) std::memcpy(to, from, 12);
    else std::memcpy(to, from, static_cast<std::size_t>(words) * sizeof(float));
}

} // namespace

DLLEXPORT mi::shader_v3::Interface* mi_get_shader_interface(int version) {
    static ShaderInterface shaderInterface;
    return version == interfaceVersion ? &shaderInterface : nullptr;
}

extern "C" {

DLLEXPORT miBoolean mi_fb_put(miState* state, int index, const void* value) {
    RenderContext& context = renderContextOf(state);
    if (!isBuffer(context, index) || !value) return miFALSE;
    if (!context.inEyeSample) return miTRUE; // outside an eye sample there is nothing to put it into
    const Buffer& buffer = context.frame.framebuffers.buffers()[static_cast<std::size_t>(index)];
    context.written[static_cast<std::size_t>(index)] = 1;
    copyValue(context.sampleWords.data() + buffer.sampleOffset, value, buffer.components);
    return miTRUE;
}

DLLEXPORT miBoolean mi_fb_get(miState* state, int index, void* value) {
    const RenderContext& context = renderContextOf(state);
    if (!isBuffer(context, index) || !value) return miFALSE;
    const Buffer& buffer = context.frame.framebuffers.buffers()[static_cast<std::size_t>(index)];
    copyValue(value, context.sampleWords.data() + buffer.sampleOffset, buffer.components);
    return miTRUE;
}

DLLEXPORT void mi_opacity_set(miState* state, const miColor* opacity) {
    RenderContext& context = renderContextOf(state);
    if (!context.holdsOpacity || state->type != miRAY_EYE) return;
    context.opacity = *opacity;
    context.opacitySet = true;
}

DLLEXPORT miBoolean mi_opacity_get(miState* state, miColor* opacity) {
    RenderContext& context = renderContextOf(state);
    if (!context.holdsOpacity || state->type != miRAY_EYE || !context.opacitySet) return miFALSE;
    *opacity = context.opacity;
    return miTRUE;
}

} // extern "C"

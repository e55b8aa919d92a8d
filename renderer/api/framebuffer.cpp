// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "base/active_log.h"
#include "image/framebuffer_element.h"
#include "render/buffer_values.h"
#include "scene/active_database.h"

#include <shader.h>

#include <memory>

using orca::api::guarded;
using orca::scene::activeDatabase;

namespace {

/// A picture's buffers are fixed once it renders, so the object keeps nothing of its own.
class ShaderInterface final : public mi::shader_v3::Interface {
public:
    void release() override {}

    const mi::shader_v3::Framebuffer* getFramebuffers(miTag collection) override {
        return editFramebuffers(collection);
    }

    mi::shader_v3::Framebuffer* editFramebuffers(miTag collection) override {
        return orca::image::framebuffersOf(activeDatabase(), collection);
    }

    void releaseFramebuffers(const mi::shader_v3::Framebuffer*) override {}

    miTag createFramebuffer() override {
        return guarded("createFramebuffer", miNULLTAG, [] {
            return activeDatabase().add(std::make_unique<orca::image::FramebufferElement>(orca::activeLog()));
        });
    }
};

constexpr int interfaceVersion = 3;

} // namespace

DLLEXPORT mi::shader_v3::Interface* mi_get_shader_interface(int version) {
    static ShaderInterface shaderInterface;
    return version == interfaceVersion ? &shaderInterface : nullptr;
}

extern "C" {

DLLEXPORT miBoolean mi_fb_put(miState* state, int index, const void* value) {
    return orca::render::putBuffer(state, index, value);
}

DLLEXPORT miBoolean mi_fb_get(miState* state, int index, void* value) {
    return orca::render::getBuffer(state, index, value);
}

DLLEXPORT void mi_opacity_set(miState* state, const miColor* opacity) {
    orca::render::setOpacity(state, *opacity);
}

DLLEXPORT miBoolean mi_opacity_get(miState* state, miColor* opacity) {
    return orca::render::getOpacity(state, *opacity);
}

} // extern "C"

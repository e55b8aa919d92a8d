// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "base/active_log.h"
#include "image/framebuffer_element.h"
#include "scene/active_database.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <memory>

using orca::api::guarded;
using orca::scene::activeDatabase;

namespace {

/// A picture's buffers and options are fixed once it renders, so the object keeps nothing of its own.
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

    const mi::shader_v3::Options* getOptions(miTag options) override {
        const auto* const element = activeDatabase().find<orca::scene::OptionsElement>(options);
        return element ? &element->named : nullptr;
    }

    void releaseOptions(const mi::shader_v3::Options*) override {}
};

constexpr int interfaceVersion = 3;

} // namespace

DLLEXPORT mi::shader_v3::Interface* mi_get_shader_interface(int version) {
    static ShaderInterface shaderInterface;
    return version == interfaceVersion ? &shaderInterface : nullptr;
}

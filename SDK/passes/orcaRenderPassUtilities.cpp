// SPDX-License-Identifier: Apache-2.0
#include "orcaRenderPassUtilities.h"

#include "orcaColor.h"
#include "orcaConstants.h"
#include "orcaGuards.h"

namespace {

/// Value of a hexadecimal digit. Other characters are not rejected; their value is what the formula gives,
/// beyond ASCII with the platform's signedness of char.
unsigned digitValue(char c) {
    const int zero = c < 'A' ? '0' : c < 'a' ? 'A' - 10 : 'a' - 10;
    return static_cast<unsigned char>(c - zero);
}

/// The renderer's interface object. A separate member, so that it is released even when opening the
/// collection throws.
class RendererInterface {
public:
    RendererInterface() : interface_(mi_get_shader_interface()) {}
    ~RendererInterface() {
        if (interface_) interface_->release();
    }
    RendererInterface(const RendererInterface&) = delete;
    RendererInterface& operator=(const RendererInterface&) = delete;

    [[nodiscard]] mi::shader::Interface* get() const noexcept { return interface_; }

private:
    mi::shader::Interface* interface_;
};

/// The camera's named frame buffers, for the duration of a look-up.
class NamedFrameBuffers {
public:
    explicit NamedFrameBuffers(miTag collection)
        : framebuffers_(interface_.get() && collection != miNULLTAG
                            ? interface_.get()->getFramebuffers(collection)
                            : nullptr) {}
    ~NamedFrameBuffers() {
        if (framebuffers_) interface_.get()->releaseFramebuffers(framebuffers_);
    }
    NamedFrameBuffers(const NamedFrameBuffers&) = delete;
    NamedFrameBuffers& operator=(const NamedFrameBuffers&) = delete;

    [[nodiscard]] unsigned indexOf(const char* name) const {
        std::size_t index = 0;
        return framebuffers_ && framebuffers_->get_index(name, index) ? static_cast<unsigned>(index) : 0u;
    }

private:
    RendererInterface interface_;
    const mi::shader::Framebuffer* framebuffers_;
};

bool hasLevelBelow(unsigned count, const miState* state) {
    return count != 0 && traceLevel(state) < state->options->trace_depth;
}

} // namespace

bool contributesToPass(int passIndex, const char* mask) {
    if (!mask) return true;
    const unsigned bit = 1u << (passIndex % 4);
    return (digitValue(mask[passIndex / 4]) & bit) != 0;
}

void tracePassInit(unsigned count, FrameBufferInfo* records, miState* state) {
    if (!hasLevelBelow(count, state)) return;
    const int below = traceLevel(state) + 1;
    for (unsigned i = 0; i < count; ++i) {
        records[i].levelSlots[below].childResult = BLACK;
        records[i].levelSlots[below].levelAux = BLACK;
    }
}

void tracePassAdd(unsigned count, FrameBufferInfo* records, miState* state, bool isRefraction,
                  miColor weight) {
    if (!hasLevelBelow(count, state)) return;
    const int level = traceLevel(state);
    const unsigned askedFor = isRefraction ? FB_INCLUDE_REFRACTION : FB_INCLUDE_REFLECTION;
    for (unsigned i = 0; i < count; ++i) {
        TraceLevelSlot& slot = records[i].levelSlots[level];
        const unsigned mode = slot.levelMode & TraceLevelSlot::LEVEL_MODE_MASK;
        if (mode == TraceLevelSlot::LEVEL_WRITES_SUPPRESSED && !(records[i].flags & askedFor)) continue;
        slot.levelResult += weight * records[i].levelSlots[level + 1].childResult;
    }
}

unsigned getNamedFrameBufferID(const miState* state, const char* name) {
    if (!name || !state->camera) return 0;
    return NamedFrameBuffers(state->camera->buffertag).indexOf(name);
}

unsigned getNamedFrameBufferID(const miState* state, unsigned nameTag) {
    const Pinned<const char> name(nameTag);
    return getNamedFrameBufferID(state, name.get());
}

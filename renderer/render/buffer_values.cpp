// SPDX-License-Identifier: Apache-2.0
#include "render/buffer_values.h"

#include "render/context/render_context.h"

#include <cstddef>
#include <cstring>

namespace orca::render {

namespace {

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

bool mayHoldOpacity(const RenderContext& context, const miState* state) {
    return context.holdsOpacity && state->type == miRAY_EYE;
}

} // namespace

miBoolean putBuffer(const miState* state, int index, const void* value) noexcept {
    RenderContext& context = renderContextOf(state);
    if (!isBuffer(context, index) || !value) return miFALSE;
    if (!context.inEyeSample) return miTRUE;
    const image::Buffer& buffer = context.frame.framebuffers.buffers()[static_cast<std::size_t>(index)];
    context.written[static_cast<std::size_t>(index)] = 1;
    copyValue(context.sampleWords.data() + buffer.sampleOffset, value, buffer.components);
    return miTRUE;
}

miBoolean getBuffer(const miState* state, int index, void* value) noexcept {
    const RenderContext& context = renderContextOf(state);
    if (!isBuffer(context, index) || !value) return miFALSE;
    const image::Buffer& buffer = context.frame.framebuffers.buffers()[static_cast<std::size_t>(index)];
    copyValue(value, context.sampleWords.data() + buffer.sampleOffset, buffer.components);
    return miTRUE;
}

void setOpacity(const miState* state, const miColor& opacity) noexcept {
    RenderContext& context = renderContextOf(state);
    if (!mayHoldOpacity(context, state)) return;
    context.opacity = opacity;
    context.opacitySet = true;
}

miBoolean getOpacity(const miState* state, miColor& opacity) noexcept {
    const RenderContext& context = renderContextOf(state);
    if (!mayHoldOpacity(context, state) || !context.opacitySet) return miFALSE;
    opacity = context.opacity;
    return miTRUE;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/buffer_values.h"

#include "render/context/render_context.h"
#include "render/context/seen_surfaces.h"

#include <cstddef>
#include <cstring>

namespace orca::render {

namespace {

bool isBuffer(const RenderContext& context, int index) {
    return static_cast<unsigned>(index) < context.bufferCount; // a negative index is a large one
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
    const auto i = static_cast<unsigned>(index);
    context.written[i] = 1;
    const BufferPlace& place = context.bufferPlaces[i];
    copyValue(context.sampleWords.data() + place.first, value, place.count);
    return miTRUE;
}

miBoolean getBuffer(const miState* state, int index, void* value) noexcept {
    const RenderContext& context = renderContextOf(state);
    if (!isBuffer(context, index) || !value) return miFALSE;
    const BufferPlace& place = context.bufferPlaces[static_cast<unsigned>(index)];
    copyValue(value, context.sampleWords.data() + place.first, place.count);
    return miTRUE;
}

void setOpacity(const miState* state, const miColor& opacity) noexcept {
    RenderContext& context = renderContextOf(state);
    if (context.seen && !context.holdsOpacity) context.seen->setOpacity(*state, opacity);
    if (!mayHoldOpacity(context, state)) return;
    context.opacity = opacity;
    context.opacitySet = true;
}

miBoolean getOpacity(const miState* state, miColor& opacity) noexcept {
    const RenderContext& context = renderContextOf(state);
    if (context.seen && !context.holdsOpacity) {
        const miColor* const held = context.inEyeSample ? context.seen->opacityOf(*state) : nullptr;
        if (held) opacity = *held;
        return held ? miTRUE : miFALSE;
    }
    if (!mayHoldOpacity(context, state) || !context.opacitySet) return miFALSE;
    opacity = context.opacity;
    return miTRUE;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Puts a value into the current eye sample's frame buffer, or reads it back; the buffer's type says how many
/// bytes. False for an index out of range and a null value. Outside an eye sample what is put is dropped.
miBoolean putBuffer(const miState* state, int index, const void* value) noexcept;
miBoolean getBuffer(const miState* state, int index, void* value) noexcept;

/// The opacity of the layer that the rasterizer shades, and, where it is recorded what eye samples see, of
/// the surface that is being shaded (opaque until it is set). No other states hold one. False when there is
/// none.
void setOpacity(const miState* state, const miColor& opacity) noexcept;
miBoolean getOpacity(const miState* state, miColor& opacity) noexcept;

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Attenuates `result` by all occluders between the light of the light state and the state's point, as the
/// state holds them now. False when an occluder blocks all light; `result` is black if that occluder has no
/// shadow shader.
///
/// Simple mode visits occluders from the point toward the light: the interface leaves the order open, and so
/// it is the same in every render. Sorted mode visits them from the light. In segment mode the first
/// occluder's shader continues to the next by `traceShadowSegment`.
miBoolean traceShadow(miColor& result, miState* lightState);

/// Continues from an occluder toward the light (segment mode). True with `result` unchanged when nothing is
/// in between.
miBoolean traceShadowSegment(miColor& result, miState* shadowState);

} // namespace orca::render

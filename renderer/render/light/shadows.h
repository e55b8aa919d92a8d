// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"

namespace orca::render {

/// Dims `result` by everything between the light of the light state and its point, both read from the state
/// now. False when an occluder blocks all light; black then, if that occluder has no shadow shader.
///
/// Simple mode walks from the point toward the light, so that the order, free by the interface, is the same
/// in every render; sorted mode walks from the light; in segment mode the first occluder's shader walks on by
/// itself.
miBoolean traceShadow(miColor& result, miState* lightState);

/// Goes on from an occluder toward the light (segment mode): true with `result` unchanged when the light is
/// reached.
miBoolean traceShadowSegment(miColor& result, miState* shadowState);

} // namespace orca::render

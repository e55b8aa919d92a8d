// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/picture_file.h"
#include "render/frame_result.h"
#include "scene/database.h"

namespace orca::app {

/// What a layered file says of the scene, so that the laws between its layers can be checked later: whether
/// the passes add up ("additivePasses"), the depths of rays ("traceDepth"), and which layer has been taken
/// from another ("passSubtracts").
void describeSums(const scene::Database& database, const scene::OptionsElement& options,
                  image::PictureFrame& frame);

/// Checks every law that holds between the layers of a finished picture (verify/pass_laws.h). An error for
/// each that is violated, in information what holds, which layers are black and what is not expected.
/// @param result with its metadata filled in
/// False when one is violated.
bool verifyPasses(const render::FrameResult& result, Log& log);

} // namespace orca::app

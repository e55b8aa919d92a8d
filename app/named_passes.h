// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/elements.h"
#include "scene/language/scene_file.h"

namespace orca::app {

/// Makes of the camera's orcaNamedPasses block, if it has one, the orcaFrameBufferData block that shaders
/// read, and puts it first in the camera's chain. Before every picture: the block may have changed. False
/// when the block has errors, which have been reported.
bool completeNamedPasses(scene::Scene& scene, const scene::ParserOptions& options,
                         const scene::ParserCallbacks& callbacks, scene::CameraElement& camera);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/denoise/denoise_settings.h"
#include "render/picture.h"
#include "scene/database.h"

namespace orca::app {

/// What --denoise adds to the passes of a picture that has none of these, as --passes has it.
inline constexpr const char* denoiseGuidePasses = "diffuseMaterialColor[name=albedo],normal,cameraDepth";

/// Layers of the picture that tell its surfaces apart: passes of the materials' diffuse colour and normal,
/// buffers of normals and of the distance from the camera.
[[nodiscard]] std::vector<render::DenoiseSettings::Guide> denoiseGuides(const scene::Database& database,
                                                                        const render::Picture& picture);

} // namespace orca::app

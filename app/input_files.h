// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "file_policy.h"

#include "base/log.h"
#include "image/textures.h"
#include "scene/language/scene_file.h"
#include "shading/shader_runtime.h"

#include <string>
#include <vector>

namespace orca::app {

/// A file that a scene needs.
struct InputFile {
    std::string path;     ///< as it is opened; of one that is missing, as the scene names it
    std::string what;     ///< "texture \"wood\"", "the scene"
    SourceLocation place; ///< of the statement that names it; none for the scene's own files
    bool missing = false;
    bool opened = false; ///< has been read already: scene files and libraries
    bool isMade = false; ///< of a writable texture: light map shaders make it
};

/// What has been read so far and what rendering will read: scene files and what they include, shader
/// libraries, textures, light profiles. Each path once. What the policy refuses is listed and not looked
/// into.
[[nodiscard]] std::vector<InputFile> inputFiles(const scene::Scene& scene, const image::Textures& textures,
                                                const shading::ShaderRuntime& runtime,
                                                const FilePolicy& policy);

} // namespace orca::app

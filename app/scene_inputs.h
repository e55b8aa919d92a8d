// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input_files.h"

#include <map>
#include <string>
#include <vector>

namespace orca::app {

/// The files that a scene needs for the pictures so far, and whether it may have them.
class SceneInputs {
public:
    SceneInputs(const scene::Scene& scene, image::Textures& textures, const shading::ShaderRuntime& runtime,
                const FilePolicy& policy, Log& log)
        : scene_(scene), textures_(textures), runtime_(runtime), policy_(policy), log_(log) {}

    /// Files that the scene needs as it is now.
    [[nodiscard]] std::vector<InputFile> now() const {
        return inputFiles(scene_, textures_, runtime_, policy_);
    }
    /// Adds what the scene needs as it is now.
    void collect();
    /// All that were collected, by path.
    [[nodiscard]] const std::map<std::string, InputFile>& all() const { return files_; }

    /// False, the first time with messages, when the scene names a file that it may not have read.
    [[nodiscard]] bool mayRead();
    /// False, with messages, when a file that the scene needs is missing.
    [[nodiscard]] bool reportMissing() const;
    /// Opens every texture, as rendering would; what cannot be read is reported.
    void openTextures();

private:
    const scene::Scene& scene_;
    image::Textures& textures_;
    const shading::ShaderRuntime& runtime_;
    const FilePolicy& policy_;
    Log& log_;
    std::map<std::string, InputFile> files_;
    bool refuses_ = false; ///< has told of a file that may not be read
};

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_preset_text.h"

#include "scene/elements/elements.h"
#include "scene/language/scene_file.h"

#include <set>
#include <string>
#include <vector>

namespace orca::app {

/// Sets up passes in scenes that declare none: frame buffers, data block, state shaders and lens shader, in
/// addition to the scene's own.
class PassPreset {
public:
    /// `names` are names of the pass catalogue. The callbacks load the libraries that the scene has not
    /// linked.
    PassPreset(std::vector<std::string> names, scene::Scene& scene, scene::ParserOptions options,
               scene::ParserCallbacks callbacks);

    /// Prepares a camera and options for the next picture, each once. A camera that has a data block of its
    /// own is left unchanged, with a warning. False when the library's declarations could not be read, which
    /// has been reported.
    bool apply(scene::CameraElement& camera, scene::OptionsElement& options);

    /// What was done to the scene so far, in its language.
    [[nodiscard]] std::string text() const;

private:
    bool defineShaders();
    bool prepareCamera(scene::CameraElement& camera);
    void prepareOptions(scene::OptionsElement& options);
    void letPassesAddUp(miTag stateShaders);
    void giveShadowsToMaterials();
    void giveUtilityShadersToMaterials();
    [[nodiscard]] std::string utilityShadersText() const;
    [[nodiscard]] bool listHolds(miTag list, const std::string& declaration) const;
    [[nodiscard]] std::string declarationOf(miTag shader) const;

    std::vector<std::string> names_;
    scene::Scene& scene_;
    scene::ParserOptions options_;
    scene::ParserCallbacks callbacks_;
    PassPresetText text_;
    std::set<miTag> prepared_; ///< cameras and options
    bool defined_ = false;
};

} // namespace orca::app

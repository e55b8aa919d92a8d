// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_block.h"
#include "pass_masks.h"
#include "pass_preset_text.h"
#include "pass_request.h"
#include "pass_selection.h"

#include "scene/elements/elements.h"
#include "scene/language/scene_file.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orca::app {

/// Sets up passes in a scene: frame buffers, data block, state shaders and lens shader, in addition to the
/// scene's own. Passes that a scene sets up itself stay as they are, and further ones are added to its block.
class PassPreset {
public:
    /// The callbacks load the libraries that the scene has not linked.
    PassPreset(PassRequests requests, scene::Scene& scene, scene::ParserOptions options,
               scene::ParserCallbacks callbacks);

    /// Prepares a camera and options for the next picture, of what is below the group. False with messages
    /// when the scene has not what is asked for, or the library's declarations could not be read.
    bool apply(scene::CameraElement& camera, scene::OptionsElement& options, miTag group);

    /// Where the bits of the scene's own masks are now; null when the scene sets no passes up itself.
    [[nodiscard]] const MaskPlaces* maskPlaces() const { return own_.empty() ? nullptr : &maskPlaces_; }

    /// What was done to the scene so far, in its language.
    [[nodiscard]] std::string text() const;

private:
    bool define(const PassLayout& own);
    bool leaveOutWhatIsThere(const PassLayout& own, const scene::CameraElement& camera);
    void renumberMasks();
    bool prepareCamera(scene::CameraElement& camera, const PassLayout& own);
    void addFramebuffers(scene::CameraElement& camera);
    bool writeBlock(scene::CameraElement& camera, PassLayout own);
    void prepareOptions(scene::OptionsElement& options);
    [[nodiscard]] std::pair<scene::FunctionElement*, std::optional<std::size_t>> baseState(miTag list) const;
    void letPassesAddUp(miTag stateShaders);
    void reportSumsThatAreOff(miTag stateShaders) const;
    void giveShadowsToMaterials();
    void giveUtilityShadersToMaterials();
    [[nodiscard]] std::string shadersText() const;
    [[nodiscard]] bool listHolds(miTag list, const std::string& declaration) const;
    [[nodiscard]] std::string declarationOf(miTag shader) const;

    PassRequests requests_;
    scene::Scene& scene_;
    scene::ParserOptions options_;
    scene::ParserCallbacks callbacks_;
    PassPresetText text_;
    PassSelection selection_;
    PassLayout own_;                                  ///< what the scene sets up itself
    MaskPlaces maskPlaces_;                           ///< of the bits of own_
    std::size_t firstBit_ = 0;                        ///< of utility passes in masks
    std::set<miTag> prepared_;                        ///< cameras and options
    std::map<miTag, std::string> blocks_;             ///< texts, by camera
    std::map<miTag, std::vector<std::string>> added_; ///< frame buffers, by camera
    bool defined_ = false;
};

} // namespace orca::app

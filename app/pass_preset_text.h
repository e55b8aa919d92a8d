// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/elements/elements.h"

#include <set>
#include <string>
#include <vector>

namespace orca::app {

/// What PassPreset has done to a scene, as statements of the scene language: pasted in front of the render
/// statement they do the same.
class PassPresetText {
public:
    explicit PassPresetText(const scene::Database& database) : database_(database) {}

    /// Scene text that was read as it is.
    void add(const std::string& text) { definitions_ += text; }
    /// Describes the camera as it is now, with those of its frame buffers and the data block that were added.
    void addCamera(const scene::CameraElement& camera, const std::vector<std::string>& framebuffers);
    /// Describes the state shaders as they are now.
    void addOptions(const scene::OptionsElement& options);
    void addShadow(const scene::MaterialElement& material) { shadows_.insert(material.tag); }
    void addShaders(const scene::MaterialElement& material) { shaders_.insert(material.tag); }

    /// @param shadow name of the shadow shader that materials were given
    [[nodiscard]] std::string text(const std::string& shadow) const;

private:
    [[nodiscard]] std::string listText(miTag first) const;

    const scene::Database& database_;
    std::string definitions_, changes_;
    std::set<miTag> shadows_, shaders_; ///< materials that were given such
};

} // namespace orca::app

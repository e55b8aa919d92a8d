// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/elements/elements.h"

#include <cstddef>
#include <map>
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
    /// A boolean parameter of a shader of the scene was switched on.
    void addSwitch(const scene::FunctionElement& shader, const char* parameter) {
        switches_[shader.tag] = parameter;
    }
    /// Describes the state shaders as they are now.
    /// @param before those that the scene gives
    void addOptions(const scene::OptionsElement& options, const std::vector<miTag>& before);
    /// A utility shader of the scene got another bit in masks.
    void addMove(const scene::FunctionElement& shader, std::size_t bit);
    /// Describes the data of an instance as it is now.
    void addInstance(const scene::InstanceElement& instance);
    void addShadow(const scene::MaterialElement& material) { shadows_.insert(material.tag); }
    void addShaders(const scene::MaterialElement& material) { shaders_.insert(material.tag); }

    /// @param shadow name of the shadow shader that materials were given
    [[nodiscard]] std::string text(const std::string& shadow) const;

private:
    [[nodiscard]] std::string listText(miTag first) const;
    [[nodiscard]] std::string memberText(const scene::FunctionElement& shader) const;
    [[nodiscard]] std::string switchText(const std::vector<miTag>& list) const;

    const scene::Database& database_;
    std::string definitions_, changes_;
    std::map<miTag, const char*> switches_;
    std::set<miTag> shadows_, shaders_; ///< materials that were given such
};

} // namespace orca::app

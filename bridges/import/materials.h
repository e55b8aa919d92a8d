// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "images.h"

#include <map>
#include <string>
#include <utility>

namespace orca::bridge {

/// Prints a model's materials as those of the shader libraries.
class Materials {
public:
    /// @param scale scene units in a unit of the file
    Materials(const ModelFile& model, SceneText& text, Images& images, Losses& losses, double scale)
        : model_(model), text_(text), images_(images), losses_(losses), scale_(scale) {}

    /// Name of the scene's material for a mesh; printed with its first use.
    [[nodiscard]] const std::string& nameFor(const aiMesh& mesh);
    [[nodiscard]] std::size_t count() const { return names_.size(); }

private:
    const ModelFile& model_;
    SceneText& text_;
    Images& images_;
    Losses& losses_;
    double scale_;
    bool hasLibrary_ = false; ///< the scene links velamaterials.so
    std::map<std::pair<unsigned, int>, std::string>
        names_; ///< by number, and by the texture space of colours
};

} // namespace orca::bridge

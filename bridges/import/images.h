// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene_text.h"

#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace orca::bridge {

/// Channels of a pixel, each 0 to 1 as the file stores it; grey files have it in red, green and blue, and
/// alpha is 1 where there is none.
using Pixel = std::array<float, 4>;

/// The images that materials use. Those inside the model file, and those computed from others, are written
/// into a folder next to the scene, named after it.
class Images {
public:
    /// @param scenePath the scene file that is written
    Images(const ModelFile& model, const std::string& scenePath, SceneText& text, Losses& losses);

    /// The file of a texture; nothing, and a loss, when there is none.
    [[nodiscard]] std::optional<std::filesystem::path> file(const aiString& texture);

    /// Writes an image of the size of `first`, each pixel computed from those of both images at its place.
    /// The same `name` is written once. Nothing, and a loss, when an image cannot be read.
    [[nodiscard]] std::optional<std::filesystem::path>
    derive(const std::string& name, const std::filesystem::path& first, const std::filesystem::path& second,
           const std::function<Pixel(const Pixel&, const Pixel&)>& compute);

    /// Name of the scene's texture element for an image; the statement is printed with its first use.
    /// @param isColor display values; else numbers
    [[nodiscard]] std::string element(const std::filesystem::path& image, bool isColor);

private:
    [[nodiscard]] std::filesystem::path unpack(const aiTexture& texture, const std::string& key);
    [[nodiscard]] const std::filesystem::path& folder();

    const ModelFile& model_;
    SceneText& text_;
    Losses& losses_;
    std::filesystem::path sceneFolder_, folder_;
    bool folderExists_ = false;
    std::map<std::string, std::optional<std::filesystem::path>> files_, derived_;
    std::map<std::pair<std::filesystem::path, bool>, std::string> elements_;
};

} // namespace orca::bridge

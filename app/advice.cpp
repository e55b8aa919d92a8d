// SPDX-License-Identifier: Apache-2.0
#include "advice.h"

#include "image/picture_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>
#include <string_view>

namespace orca::app {

namespace {

constexpr std::string_view models[] = {"obj",  "gltf", "glb",  "ply", "stl", "fbx", "usd",
                                       "usda", "usdc", "usdz", "abc", "dae", "3ds"};
constexpr std::string_view pictures[] = {"png", "jpg",  "jpeg", "tif", "tiff", "tga", "bmp", "gif",
                                         "hdr", "webp", "jp2",  "dpx", "sgi",  "ppm", "psd"};

/// In lower case, without the dot.
std::string extensionOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

template <class Names>
bool isOneOf(const std::string& word, const Names& names) {
    return std::find(std::begin(names), std::end(names), word) != std::end(names);
}

} // namespace

std::string adviceFor(const LogMessage& message) {
    if (!message.text.ends_with("(): Internal state error.")) return {};
    return "shaders find no render state, so the picture lacks what they would have rendered; add state "
           "\"velaBaseState\" ( ) to the scene's options, before other state shaders, with link "
           "\"velabase.so\" and $include <velabase.mi> above them";
}

std::string whyNoScene(const std::string& path) {
    const std::string extension = extensionOf(path);
    if (isOneOf(extension, models))
        return fmt::format(
            "\"{}\" is a model in another format (.{}), no scene file; orca-render reads .mi only "
            "and comes with no converter: export the model as .mi",
            path, extension);
    if (isOneOf(extension, pictures) || extension == "exr")
        return fmt::format("\"{}\" is a picture, no scene file; was -o left out?", path);
    return {};
}

std::string whyNoLayeredFile(const std::string& path) {
    if (!isOneOf(extensionOf(path), pictures)) return {};
    return fmt::format(
        "\"{}\" is no name for the layered OpenEXR that -o writes: end it in .exr, and add --png "
        "FILE for a picture to look at",
        path);
}

std::string whyNoDeepFile(const std::string& path) {
    if (path.empty() || extensionOf(path) == "exr") return {};
    return fmt::format("\"{}\" is no name for a deep OpenEXR: end it in .exr", path);
}

std::string whyNoPreview(const std::string& path) {
    try {
        if (path.empty() || image::previewFormat(path)) return {};
    } catch (const std::exception& failure) { // of an installation that is not complete
        return failure.what();
    }
    if (extensionOf(path) == "exr")
        return fmt::format("\"{}\" is a name for the layered OpenEXR that -o writes; end it in .png", path);
    return fmt::format("no picture format that can be written has the extension of \"{}\"; end it in .png",
                       path);
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "input_files.h"

#include "image/light_profile.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

/// The files of a texture; its name where there is none, and nothing where light map shaders are to make it.
std::vector<InputFile> filesOf(const scene::TextureElement& texture, const image::Textures& textures) {
    std::vector<std::string> found = textures.files(texture);
    const bool missing = found.empty();
    if (missing && texture.writable) return {};
    if (missing) found.push_back(texture.file);
    std::vector<InputFile> files;
    for (std::string& path : found)
        files.push_back({std::move(path), fmt::format("texture \"{}\"", texture.name), texture.location,
                         missing, false, texture.writable});
    return files;
}

InputFile fileAt(const fs::path& path, const scene::LightProfileElement& profile) {
    std::error_code ignored;
    return {path.string(), fmt::format("light profile \"{}\"", profile.name), profile.location,
            !fs::is_regular_file(path, ignored)};
}

/// The file that a profile names for the tilt of its lamp; empty when it names none.
fs::path tiltFileOf(const fs::path& path) {
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    try {
        const std::string file = image::readIes(text.str()).tiltFile;
        return file.empty() ? fs::path() : path.parent_path() / file;
    } catch (const image::LightProfileError&) {
        return {}; // is reported where the profile is used
    }
}

} // namespace

std::vector<InputFile> inputFiles(const scene::Scene& scene, const image::Textures& textures,
                                  const shading::ShaderRuntime& runtime, const FilePolicy& policy) {
    std::vector<InputFile> files;
    std::set<std::string> paths;
    const auto add = [&](InputFile file) {
        if (!file.path.empty() && paths.insert(file.path).second) files.push_back(std::move(file));
    };
    for (const scene::ReadFile& file : scene.files())
        add({file.path, file.includedAt.line > 0 ? "an included file" : "the scene", file.includedAt, false,
             true});
    for (const std::string& library : runtime.libraries())
        add({library, "a shader library", {}, false, true});
    const scene::Database& database = scene.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        if (const auto* texture = database.find<scene::TextureElement>(tag)) {
            if (texture->file.empty()) continue;
            for (InputFile& file : filesOf(*texture, textures)) add(std::move(file));
        } else if (const auto* profile = database.find<scene::LightProfileElement>(tag)) {
            const fs::path path = fs::path(profile->sceneDirectory) / profile->file; // or absolute
            add(fileAt(path, *profile));
            if (profile->format != scene::LightProfileElement::Format::Ies || !policy.mayRead(path.string()))
                continue;
            if (const fs::path tilt = tiltFileOf(path); !tilt.empty()) add(fileAt(tilt, *profile));
        }
    }
    return files;
}

} // namespace orca::app

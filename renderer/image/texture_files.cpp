// SPDX-License-Identifier: Apache-2.0
#include "image/texture_files.h"

#include "scene/elements/file_pattern.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace orca::image {

namespace {

namespace fs = std::filesystem;

bool isFile(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

std::vector<std::string> inFolders(const fs::path& name, const std::string& sceneFolder,
                                   std::span<const std::string> folders) {
    if (name.is_absolute()) return {name.string()};
    std::vector<std::string> paths{(fs::path(sceneFolder) / name).string()};
    for (const std::string& folder : folders) paths.push_back((fs::path(folder) / name).string());
    return paths;
}

/// Files of the pattern's folder whose names have four digits in the place of the placeholder.
std::vector<std::string> tilesOf(const fs::path& pattern) {
    const std::string name = pattern.filename().string();
    const std::size_t at = name.find(scene::tilePlaceholder);
    if (at == std::string::npos) return {};
    const std::string before = name.substr(0, at), after = name.substr(at + scene::tilePlaceholder.size());
    constexpr std::size_t digits = 4;
    std::vector<std::string> tiles;
    std::error_code problem;
    const fs::path folder = pattern.has_parent_path() ? pattern.parent_path() : fs::path(".");
    for (fs::directory_iterator entry(folder, problem), end; !problem && entry != end;
         entry.increment(problem)) {
        const std::string own = entry->path().filename().string();
        if (own.size() != before.size() + digits + after.size() || !own.starts_with(before) ||
            !own.ends_with(after))
            continue;
        int number = 0;
        const char* const first = own.data() + before.size();
        const auto [stop, fault] = std::from_chars(first, first + digits, number);
        if (fault != std::errc() || stop != first + digits || number < firstTile || number > greatestTile)
            continue;
        const auto index = static_cast<std::size_t>(number - firstTile);
        if (tiles.size() <= index) tiles.resize(index + 1);
        tiles[index] = entry->path().string();
    }
    return tiles;
}

} // namespace

std::vector<std::string> candidatesOf(const scene::TextureElement& texture,
                                      std::span<const std::string> folders, int frame) {
    std::vector<std::string> paths = inFolders(texture.file, texture.sceneDirectory, folders);
    if (!scene::hasFramePattern(texture.file) || std::any_of(paths.begin(), paths.end(), isFile))
        return paths;
    return inFolders(scene::withFrame(texture.file, frame), texture.sceneDirectory, folders);
}

TextureFiles filesOf(const scene::TextureElement& texture, std::span<const std::string> folders, int frame) {
    TextureFiles files;
    for (const std::string& path : candidatesOf(texture, folders, frame)) {
        if (isFile(path)) files.single = path;
        else if (scene::hasTilePattern(path)) files.tiles = tilesOf(path);
        if (!files.empty()) break;
    }
    return files;
}

} // namespace orca::image

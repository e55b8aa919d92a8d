// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_profiles.h"

#include "scene/elements/elements.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace orca::render {

namespace {

namespace fs = std::filesystem;
using image::LightProfile;

/// False where there is no such file.
bool readText(const fs::path& path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream all;
    all << file.rdbuf();
    text = all.str();
    return static_cast<bool>(file);
}

/// A lamp's tilt has no effect here, so a fault in its file does not invalidate the profile.
void checkTilt(const scene::LightProfileElement& element, const fs::path& profile, const std::string& name,
               Log& log) {
    const fs::path path = profile.parent_path() / name;
    std::string text;
    if (!readText(path, text)) {
        log.warningAt({profile.string(), 1, 1}, "RNDR",
                      "light profile \"{}\": TILT={} names a file that cannot be read; light is shaped "
                      "without it",
                      element.name, name);
        return;
    }
    try {
        image::checkIesTilt(text);
    } catch (const image::LightProfileError& error) {
        log.warningAt({path.string(), error.line, 1}, "RNDR",
                      "light profile \"{}\": tilt file of \"{}\": {}; light is shaped without it",
                      element.name, profile.string(), error.what());
    }
}

std::optional<LightProfile> read(const scene::LightProfileElement& element, Log& log) {
    const fs::path path = fs::path(element.sceneDirectory) / element.file; // an absolute file stays as it is
    std::string text;
    if (element.file.empty() || !readText(path, text)) {
        log.errorAt(element.location, "RNDR", "light profile \"{}\": file \"{}\" cannot be read",
                    element.name, element.file.empty() ? "" : path.string());
        return std::nullopt;
    }
    try {
        auto table = element.format == scene::LightProfileElement::Format::Ies ? image::readIes(text)
                                                                               : image::readEulumdat(text);
        constexpr int clockwise = 1;
        table.clockwise = table.axes == LightProfile::Axes::B && element.flags == clockwise;
        if (!table.tiltFile.empty()) checkTilt(element, path, table.tiltFile, log);
        return LightProfile(std::move(table));
    } catch (const image::LightProfileError& error) {
        log.errorAt({path.string(), error.line, 1}, "RNDR", "light profile \"{}\": {}", element.name,
                    error.what());
        return std::nullopt;
    }
}

} // namespace

LightProfiles::LightProfiles(scene::Database& database, Log& log) {
    constexpr int cubic = 3;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* element = database.find<scene::LightProfileElement>(tag);
        if (!element) continue;
        if (auto profile = read(*element, log)) {
            entries_.push_back(
                {tag, *std::move(profile),
                 element->hermite == cubic ? LightProfile::Between::Cubic : LightProfile::Between::Linear});
        }
    }
}

float LightProfiles::toward(miTag profile, const miVector& direction, bool interpolate) const {
    const auto found = std::lower_bound(entries_.begin(), entries_.end(), profile,
                                        [](const Entry& entry, miTag tag) { return entry.tag < tag; });
    if (found == entries_.end() || found->tag != profile) return 1.0f;
    return found->profile.toward(direction, interpolate ? found->between : LightProfile::Between::Nearest);
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/light_profiles.h"

#include "render/render_context.h"
#include "scene/elements.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace orca::render {

namespace {

namespace fs = std::filesystem;
using image::LightProfile;

std::optional<LightProfile> read(const scene::LightProfileElement& element, scene::Messages& messages) {
    const fs::path path = fs::path(element.sceneDirectory) / element.file; // an absolute file stays as it is
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    if (!element.file.empty()) text << file.rdbuf();
    if (element.file.empty() || !file) {
        messages.errorAt(element.place, "RNDR", "light profile \"{}\": file \"{}\" cannot be read",
                         element.name, element.file.empty() ? "" : path.string());
        return std::nullopt;
    }
    try {
        auto table = element.format == scene::LightProfileElement::Format::Ies
                         ? image::readIes(text.str())
                         : image::readEulumdat(text.str());
        constexpr int clockwise = 1;
        table.clockwise = table.axes == LightProfile::Axes::B && element.flags == clockwise;
        return LightProfile(std::move(table));
    } catch (const image::LightProfileError& error) {
        messages.errorAt({path.string(), error.line, 1}, "RNDR", "light profile \"{}\": {}", element.name,
                         error.what());
        return std::nullopt;
    }
}

} // namespace

LightProfiles::LightProfiles(scene::Database& database, scene::Messages& messages) {
    constexpr int cubic = 3;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* element = database.find<scene::LightProfileElement>(tag);
        if (!element) continue;
        if (auto profile = read(*element, messages)) {
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

miScalar sampleLightProfile(miState* state, miTag profile, miBoolean interpolate) {
    if (profile == miNULLTAG) return 1.0f;
    const Frame& frame = renderContextOf(state).frame;
    const PlacedLight* light = frame.lightOf(state->light_instance);
    miVector direction = state->dir;
    if (light) mi_vector_transform(&direction, &state->dir, light->record->tf.global_to_local);
    return frame.lightProfiles.toward(profile, direction, interpolate != miFALSE);
}

} // namespace orca::render

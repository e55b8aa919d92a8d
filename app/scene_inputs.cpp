// SPDX-License-Identifier: Apache-2.0
#include "scene_inputs.h"

#include <utility>

namespace orca::app {

void SceneInputs::collect() {
    for (InputFile& file : now()) {
        const std::string path = file.path;
        files_.emplace(path, std::move(file));
    }
}

bool SceneInputs::mayRead() {
    if (!policy_.restrictsReading() || refuses_) return !refuses_;
    for (const auto& [path, file] : files_) {
        if (file.opened || file.missing) continue;
        std::string reason;
        if (!policy_.mayRead(path)) reason = policy_.readingRule();
        else if (image::isFilm(path)) reason = "a film may name other files, and not all may be read";
        if (reason.empty()) continue;
        log_.errorAt(file.place, "MAIN", "{}: \"{}\" is refused: {}", file.what, path, reason);
        refuses_ = true;
    }
    return !refuses_;
}

bool SceneInputs::reportMissing() const {
    bool complete = true;
    for (const auto& [path, file] : files_) {
        if (!file.missing) continue;
        log_.errorAt(file.place, "MAIN", "{}: there is no file \"{}\"", file.what, path);
        complete = false;
    }
    return complete;
}

void SceneInputs::openTextures() {
    for (miTag tag = 1; tag < scene_.database().endTag(); ++tag) {
        const auto* texture = scene_.database().find<scene::TextureElement>(tag);
        miColor color;
        if (texture && texture->writable && textures_.files(*texture).empty()) continue; // made by rendering
        if (texture && !texture->file.empty()) textures_.lookup(*texture, 0.5f, 0.5f, {}, color);
    }
}

} // namespace orca::app

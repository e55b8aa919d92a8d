// SPDX-License-Identifier: Apache-2.0
#include "library_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace orca::app {

namespace {

bool endsIn(const std::string& file, std::string_view name) {
    return file.size() >= name.size() && std::string_view(file).substr(file.size() - name.size()) == name;
}

} // namespace

std::string libraryText(scene::Scene& scene) {
    const scene::Database& database = scene.database();
    std::string text;
    const auto links = [&](std::string_view library) {
        const auto& linked = scene.libraries();
        if (std::none_of(linked.begin(), linked.end(),
                         [&](const auto& file) { return endsIn(file, library); }))
            text += fmt::format("link \"{}\"\n", library);
    };
    const auto includes = [&](const char* shader, const char* file) {
        if (database.declaration(shader) == miNULLTAG) text += fmt::format("$include <{}>\n", file);
    };
    links("velabase.so");
    links("orca.so");
    includes("velaBaseState", "velabase.mi");
    includes("orcaFrameBufferState", "orca.mi");
    return text;
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "pass_preset_text.h"

#include "scene/language/scene_writer.h"
#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

std::string framebufferText(const scene::FramebufferDefinition& buffer) {
    std::string text =
        fmt::format("    framebuffer {} datatype \"{}\"", scene::quoted(buffer.name), buffer.datatype);
    if (buffer.user) text += fmt::format(" user {}", *buffer.user ? "on" : "off");
    if (buffer.useopacity) text += " useopacity on";
    return text + "\n";
}

/// A list as its statement names it: named shaders come with the list of their own, which `length` counts.
struct ListEntry {
    const scene::FunctionElement* head;
    std::size_t first, length; ///< in the whole list
};

std::vector<ListEntry> entriesOf(const scene::Database& database, const std::vector<miTag>& list) {
    std::vector<ListEntry> entries;
    for (std::size_t i = 0; i < list.size(); i += entries.back().length) {
        const auto* const head = database.find<scene::FunctionElement>(list[i]);
        const auto end = std::find(list.begin() + static_cast<std::ptrdiff_t>(i), list.end(), head->listEnd);
        const bool isList = !head->name.empty() && end != list.end();
        entries.push_back({head, i, isList ? static_cast<std::size_t>(end - list.begin()) - i + 1 : 1});
    }
    return entries;
}

} // namespace

/// A member without a name is repeated without parameters: an incremental statement leaves those as they are.
std::string PassPresetText::memberText(const scene::FunctionElement& shader) const {
    if (!shader.name.empty()) return fmt::format(" = {}", scene::quoted(shader.name));
    const auto changed = switches_.find(shader.tag);
    return fmt::format(" \"{}\" ({} )", shader.declaration->name,
                       changed != switches_.end() ? fmt::format(" \"{}\" on", changed->second) : "");
}

std::string PassPresetText::listText(miTag first) const {
    std::string text;
    for (const ListEntry& entry : entriesOf(database_, scene::shaderList(database_, first)))
        text += memberText(*entry.head);
    return text;
}

/// Changes of parameters in named shaders and in their lists.
std::string PassPresetText::switchText(const std::vector<miTag>& list) const {
    std::string text;
    for (const ListEntry& entry : entriesOf(database_, list)) {
        for (std::size_t i = entry.first; i < entry.first + entry.length; ++i) {
            const auto& shader = *database_.find<scene::FunctionElement>(list[i]);
            const auto changed = switches_.find(shader.tag);
            if (changed == switches_.end() || entry.head->name.empty()) continue;
            if (!shader.name.empty()) {
                text += fmt::format("incremental shader {} \"{}\" ( \"{}\" on )\n",
                                    scene::quoted(shader.name), shader.declaration->name, changed->second);
                continue;
            }
            text += fmt::format("incremental shader {} \"{}\" ( )", scene::quoted(entry.head->name),
                                entry.head->declaration->name);
            for (const ListEntry& member : entriesOf(
                     database_, {list.begin() + static_cast<std::ptrdiff_t>(entry.first + 1),
                                 list.begin() + static_cast<std::ptrdiff_t>(entry.first + entry.length)}))
                text += memberText(*member.head);
            text += "\n";
        }
    }
    return text;
}

void PassPresetText::addCamera(const scene::CameraElement& camera,
                               const std::vector<std::string>& framebuffers) {
    changes_ += fmt::format("incremental camera {}\n", scene::quoted(camera.name));
    for (const scene::FramebufferDefinition& buffer : camera.framebuffers)
        if (std::find(framebuffers.begin(), framebuffers.end(), buffer.name) != framebuffers.end())
            changes_ += framebufferText(buffer);
    changes_ += fmt::format("    lens{}\n    data {}\nend camera\n", listText(camera.camera.lens),
                            scene::quoted(database_.get(camera.camera.userdata)->name));
}

void PassPresetText::addMove(const scene::FunctionElement& shader, std::size_t bit) {
    const std::string& declaration = shader.declaration->name;
    changes_ += shader.name.empty()
                    ? fmt::format("# The contributionIndex of the \"{}\" at {} becomes {}.\n", declaration,
                                  shader.location.text(), bit)
                    : fmt::format("incremental shader {} \"{}\" ( \"contributionIndex\" {} )\n",
                                  scene::quoted(shader.name), declaration, bit);
}

void PassPresetText::addInstance(const scene::InstanceElement& instance) {
    changes_ += fmt::format("incremental instance {} data {} end instance\n", scene::quoted(instance.name),
                            scene::quoted(database_.get(instance.instance.userdata)->name));
}

void PassPresetText::addOptions(const scene::OptionsElement& options, const std::vector<miTag>& before) {
    const std::vector<miTag> list = scene::shaderList(database_, options.options.state_func);
    changes_ += switchText(list);
    // Incremental statements find shaders without a name by their place, so nothing can be put before them.
    const std::vector<ListEntry> given = entriesOf(database_, before);
    const bool hasUnnamed = std::any_of(given.begin(), given.end(),
                                        [](const ListEntry& entry) { return entry.head->name.empty(); });
    if (!hasUnnamed || list.front() == before.front()) {
        changes_ += fmt::format("incremental options {}\n    state{}\nend options\n",
                                scene::quoted(options.name), listText(options.options.state_func));
        return;
    }
    const auto place = std::find(list.begin(), list.end(), before.front());
    const auto behind = place + static_cast<std::ptrdiff_t>(before.size());
    const auto namesOf = [&](auto first, auto last) {
        std::string text;
        for (const ListEntry& entry : entriesOf(database_, {first, last})) text += memberText(*entry.head);
        return text;
    };
    changes_ += fmt::format(
        "# Some state shaders of options \"{}\" ({}) have no names to refer to. Write into that statement\n"
        "#    {}\n"
        "# before its state shaders and behind them\n"
        "#    {}\n",
        options.name, options.location.text(), namesOf(list.begin(), place), namesOf(behind, list.end()));
}

std::string PassPresetText::text(const std::string& shadow) const {
    std::string text = "# Passes as --passes sets them up. In front of the scene's render statement.\n" +
                       definitions_ + changes_;
    std::set<miTag> materials = shadows_;
    materials.insert(shaders_.begin(), shaders_.end());
    for (const miTag tag : materials) {
        const auto& material = *database_.find<scene::MaterialElement>(tag);
        if (material.name.empty()) {
            text += "# A material of a phenomenon, which has no name, is not listed.\n";
            continue;
        }
        text += fmt::format("incremental material {}{}{} end material\n", scene::quoted(material.name),
                            shaders_.count(tag) ? listText(material.material.shader) : "",
                            shadows_.count(tag) ? fmt::format(" shadow = \"{}\"", shadow) : "");
    }
    return text;
}

} // namespace orca::app

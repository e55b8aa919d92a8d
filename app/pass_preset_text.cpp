// SPDX-License-Identifier: Apache-2.0
#include "pass_preset_text.h"

#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

std::string framebufferText(const scene::FramebufferDefinition& buffer) {
    std::string text = fmt::format("    framebuffer \"{}\" datatype \"{}\"", buffer.name, buffer.datatype);
    if (buffer.user) text += fmt::format(" user {}", *buffer.user ? "on" : "off");
    if (buffer.useopacity) text += " useopacity on";
    return text + "\n";
}

/// The one parameter of a shader of the scene that may have been changed.
bool addsUp(const scene::FunctionElement& shader) {
    const auto& parameters = shader.declaration->parameters;
    const scene::Parameter* const parameter = scene::findParameter(parameters, "additivePasses");
    if (!parameter) return false;
    const scene::Value& value = shader.values[static_cast<std::size_t>(parameter - parameters.data())];
    return value.kind == scene::Value::Kind::Literal && value.words.front() != 0;
}

} // namespace

/// A member without a name is repeated without parameters: an incremental statement leaves those as they are.
/// Members without a name that follow a named one belong to it.
std::string PassPresetText::listText(miTag first) const {
    std::string text;
    bool named = false;
    for (const miTag tag : scene::shaderList(database_, first)) {
        const auto& shader = *database_.find<scene::FunctionElement>(tag);
        if (!shader.name.empty()) text += fmt::format(" = \"{}\"", shader.name);
        else if (!named)
            text += fmt::format(" \"{}\" ({} )", shader.declaration->name,
                                addsUp(shader) ? " \"additivePasses\" on" : "");
        named = named || !shader.name.empty();
    }
    return text;
}

void PassPresetText::addCamera(const scene::CameraElement& camera,
                               const std::vector<std::string>& framebuffers) {
    changes_ += fmt::format("incremental camera \"{}\"\n", camera.name);
    for (const scene::FramebufferDefinition& buffer : camera.framebuffers)
        if (std::find(framebuffers.begin(), framebuffers.end(), buffer.name) != framebuffers.end())
            changes_ += framebufferText(buffer);
    changes_ += fmt::format("    lens{}\n    data \"{}\"\nend camera\n", listText(camera.camera.lens),
                            database_.get(camera.camera.userdata)->name);
}

void PassPresetText::addOptions(const scene::OptionsElement& options) {
    const std::vector<miTag> list = scene::shaderList(database_, options.options.state_func);
    const bool startsNamed = !list.empty() && !database_.get(list.front())->name.empty();
    const bool hasOthers =
        std::any_of(list.begin(), list.end(), [&](miTag tag) { return database_.get(tag)->name.empty(); });
    if (startsNamed && hasOthers)
        changes_ += "# The scene's own state shaders belong into this list, with their parameters.\n";
    for (const miTag tag : list)
        if (const auto& shader = *database_.find<scene::FunctionElement>(tag);
            !shader.name.empty() && addsUp(shader))
            changes_ += fmt::format("incremental shader \"{}\" \"{}\" ( \"additivePasses\" on )\n",
                                    shader.name, shader.declaration->name);
    changes_ += fmt::format("incremental options \"{}\"\n    state{}\nend options\n", options.name,
                            listText(options.options.state_func));
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
        text += fmt::format("incremental material \"{}\"{}{} end material\n", material.name,
                            shaders_.count(tag) ? listText(material.material.shader) : "",
                            shadows_.count(tag) ? fmt::format(" shadow = \"{}\"", shadow) : "");
    }
    return text;
}

} // namespace orca::app

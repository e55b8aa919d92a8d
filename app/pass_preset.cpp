// SPDX-License-Identifier: Apache-2.0
#include "pass_preset.h"

#include "library_text.h"
#include "pass_block.h"
#include "pass_block_text.h"
#include "pass_catalogue.h"
#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

constexpr const char* module = "PASS";
constexpr const char* baseStateName = "passes:base";
constexpr const char* frameBufferStateName = "passes:frameBuffers";
constexpr const char* lensName = "passes:lens";
constexpr const char* shadowName = "passes:shadow";
constexpr const char* utilityName = "passes:utility";
constexpr const char* utilityStateName = "passes:utilityState";
constexpr const char* additiveParameter = "additivePasses"; // of velaBaseState
constexpr int everyLevel = 1000;                            // deeper than any trace depth

TypedRecord recordOf(const PassDescription& pass) {
    TypedRecord record{static_cast<PassTypeID>(pass.type), std::string(pass.name), {}};
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS)
        record.settings.*flag.field = (pass.flags & flag.bit) != 0;
    record.settings.maxReflectionLevel = pass.flags & FB_INCLUDE_REFLECTION ? everyLevel : 0;
    record.settings.maxRefractionLevel = pass.flags & FB_INCLUDE_REFRACTION ? everyLevel : 0;
    return record;
}

std::string blockText(const std::string& blockName, const std::vector<std::string>& passes) {
    std::vector<TypedRecord> records;
    std::vector<std::string> utilityNames;
    for (const std::string& name : passes) {
        const PassDescription& pass = *findPass(name);
        if (pass.type >= 0) records.push_back(recordOf(pass));
        if (!pass.shader.empty()) utilityNames.push_back(name);
    }
    return passBlockText(blockName, std::move(records), utilityNames);
}

} // namespace

PassPreset::PassPreset(std::vector<std::string> names, scene::Scene& scene, scene::ParserOptions options,
                       scene::ParserCallbacks callbacks)
    : names_(std::move(names)),
      scene_(scene),
      options_(std::move(options)),
      callbacks_(std::move(callbacks)),
      text_(scene.database()) {
    callbacks_.render = nullptr; // the generated text renders nothing
}

bool PassPreset::apply(scene::CameraElement& camera, scene::OptionsElement& options) {
    if (passBlock(scene_.database(), camera) && !prepared_.count(camera.tag)) {
        scene_.log().once(
            "preset ignored",
            {LogLevel::Warning, module, 0,
             fmt::format("camera \"{}\" sets passes up itself, so --passes is ignored", camera.name),
             camera.location});
        return true;
    }
    if (!defined_ && !defineShaders()) return false;
    defined_ = true;
    if (prepared_.insert(camera.tag).second && !prepareCamera(camera)) return false;
    if (prepared_.insert(options.tag).second) prepareOptions(options);
    giveShadowsToMaterials();
    giveUtilityShadersToMaterials();
    return true;
}

std::string PassPreset::text() const {
    return text_.text(shadowName);
}

/// Reads the library's declarations unless the scene has, and creates the shaders that rendering passes
/// needs.
bool PassPreset::defineShaders() {
    std::string text = libraryText(scene_);
    text += fmt::format("shader \"{}\" \"velaBaseState\" ( \"{}\" on )\n", baseStateName, additiveParameter);
    text += fmt::format("shader \"{}\" \"orcaFrameBufferState\" ( )\n", frameBufferStateName);
    text += fmt::format("shader \"{}\" \"orcaFrameBufferLens\" ( )\n", lensName);
    text += fmt::format("shader \"{}\" \"orcaVelaFastShadow\" ( )\n", shadowName);
    text += utilityShadersText();
    text_.add(text);
    return scene_.parseText(std::move(text), "<passes>", options_, callbacks_);
}

/// The shaders of the utility passes: one list, which is appended to the list of every material, and one of
/// state shaders.
std::string PassPreset::utilityShadersText() const {
    const auto isMaterialPass = [](const std::string& name) { return findPass(name)->type >= 0; };
    // Utility passes follow the material passes in object masks.
    auto bit = std::count_if(names_.begin(), names_.end(), isMaterialPass);
    int index = 0;
    std::string list, states;
    for (const std::string& name : names_) {
        const PassDescription& pass = *findPass(name);
        if (pass.shader.empty()) continue;
        if (pass.ofState) {
            states += fmt::format("    \"{}\" ( \"passIndex\" {}{} )\n", pass.shader, index++, pass.settings);
            continue;
        }
        list += fmt::format("    \"{}\" ( \"passIndex\" {}, \"contributionIndex\" {}{} )\n", pass.shader,
                            index++, bit++, pass.settings);
    }
    std::string text;
    if (!list.empty()) text += fmt::format("shader \"{}\"\n{}", utilityName, list);
    if (!states.empty()) text += fmt::format("shader \"{}\"\n{}", utilityStateName, states);
    return text;
}

bool PassPreset::prepareCamera(scene::CameraElement& camera) {
    scene::Database& database = scene_.database();
    std::vector<std::string> added;
    for (const std::string& name : names_) {
        auto& buffers = camera.framebuffers;
        const bool exists =
            std::any_of(buffers.begin(), buffers.end(), [&](const auto& b) { return b.name == name; });
        if (exists) {
            scene_.log().warning(module,
                                 "pass {0} goes into frame buffer \"{0}\", which camera \"{1}\" has already",
                                 name, camera.name);
            continue;
        }
        const PassDescription& pass = *findPass(name);
        scene::FramebufferDefinition statement;
        statement.name = name;
        statement.datatype = std::string(pass.datatype);
        statement.user = pass.type >= 0 || !pass.shader.empty();
        statement.useopacity = pass.type >= 0 || pass.ofState; // so that layers add up in rasterizer mode too
        buffers.push_back(std::move(statement));
        added.push_back(name);
    }
    const std::string blockName = camera.name + ":passes";
    std::string text = blockText(blockName, names_);
    if (camera.camera.userdata != miNULLTAG) { // what the camera has follows the block
        const std::string next =
            fmt::format("    data \"{}\"\nend data\n", database.get(camera.camera.userdata)->name);
        text.replace(text.rfind("end data"), std::string::npos, next);
    }
    text_.add(text);
    if (!scene_.parseText(std::move(text), "<passes>", options_, callbacks_)) return false;
    auto* block = database.find<scene::UserdataElement>(database.named(blockName));
    camera.camera.userdata = block->tag;
    // Innermost, so that it sees what the camera ray itself hit.
    if (!listHolds(camera.camera.lens, "orcaFrameBufferLens"))
        camera.camera.lens = scene::appendShaders(database, camera.camera.lens, database.named(lensName));
    ++camera.revision;
    text_.addCamera(camera, added);
    return true;
}

/// The base state shader precedes everything that uses its state; the pass records follow the scene's own
/// shaders.
void PassPreset::prepareOptions(scene::OptionsElement& options) {
    const scene::Database& database = scene_.database();
    miTag& list = options.options.state_func;
    const std::vector<miTag> before = scene::shaderList(database, list);
    if (!listHolds(list, "velaBaseState")) {
        list = scene::appendShaders(database, database.named(baseStateName), list);
    } else {
        letPassesAddUp(list);
    }
    if (!listHolds(list, "orcaFrameBufferState"))
        list = scene::appendShaders(database, list, database.named(frameBufferStateName));
    list = scene::appendShaders(database, list, database.named(utilityStateName));
    ++options.revision;
    text_.addOptions(options, before);
}

/// Sets the parameter in the scene's own base state shader.
void PassPreset::letPassesAddUp(miTag list) {
    const std::vector<miTag> shaders = scene::shaderList(scene_.database(), list);
    const auto tag = std::find_if(shaders.begin(), shaders.end(),
                                  [&](miTag shader) { return declarationOf(shader) == "velaBaseState"; });
    auto* base = scene_.database().find<scene::FunctionElement>(*tag);
    const std::vector<scene::Parameter>& parameters = base->declaration->parameters;
    const auto parameter = std::find_if(parameters.begin(), parameters.end(),
                                        [](const auto& p) { return p.name == additiveParameter; });
    if (parameter == parameters.end()) return; // declared by an older library
    scene::Value& value = base->values[static_cast<std::size_t>(parameter - parameters.begin())];
    value = {};
    value.kind = scene::Value::Kind::Literal;
    value.words = {1};
    base->rebuild();
    ++base->revision;
    text_.addSwitch(*base, additiveParameter);
}

/// Without a shadow shader an object blocks light in the picture but not in the passes, which would lack its
/// shadows.
void PassPreset::giveShadowsToMaterials() {
    scene::Database& database = scene_.database();
    int count = 0;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        auto* material = database.find<scene::MaterialElement>(tag);
        if (!material || material->isTemplate) continue;
        const std::string shader = declarationOf(material->material.shader);
        if (shader.rfind("orcaVela", 0) != 0) {
            if (shader.empty()) continue;
            scene_.log().once("preset material " + std::to_string(tag),
                              {LogLevel::Info, module, 0,
                               fmt::format("material \"{}\" is shaded by \"{}\", which writes no passes",
                                           material->name, shader),
                               material->location});
            continue;
        }
        if (material->material.shadow != miNULLTAG) continue;
        material->material.shadow = database.named(shadowName);
        text_.addShadow(*material);
        ++material->revision;
        ++count;
    }
    if (count > 0) {
        scene_.log().info(module,
                          "{} material{} without a shadow shader got orcaVelaFastShadow, so that the "
                          "passes receive shadows",
                          count, count == 1 ? "" : "s");
    }
}

void PassPreset::giveUtilityShadersToMaterials() {
    scene::Database& database = scene_.database();
    const miTag first = database.named(utilityName);
    if (first == miNULLTAG) return;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        auto* material = database.find<scene::MaterialElement>(tag);
        if (!material || material->isTemplate || material->material.shader == miNULLTAG) continue;
        const std::vector<miTag> members = scene::shaderList(database, material->material.shader);
        if (std::find(members.begin(), members.end(), first) != members.end()) continue;
        scene::appendShaders(database, material->material.shader, first);
        text_.addShaders(*material);
        ++material->revision;
    }
}

std::string PassPreset::declarationOf(miTag shader) const {
    const auto* element = scene_.database().find<scene::FunctionElement>(shader);
    return element ? element->declaration->name : std::string();
}

bool PassPreset::listHolds(miTag list, const std::string& declaration) const {
    const std::vector<miTag> members = scene::shaderList(scene_.database(), list);
    return std::any_of(members.begin(), members.end(),
                       [&](miTag shader) { return declarationOf(shader) == declaration; });
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "pass_preset.h"

#include "library_text.h"
#include "pass_block.h"
#include "pass_block_text.h"
#include "pass_catalogue.h"

#include "scene/language/scene_writer.h"
#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

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

/// A shader of a scene that writes a utility pass: its pass index and its bit in masks come first.
bool isUtilityShader(const scene::FunctionElement& shader) {
    const std::vector<scene::Parameter>& parameters = shader.declaration->parameters;
    return parameters.size() >= 2 && parameters[0].name == "passIndex" &&
           parameters[1].name == "contributionIndex";
}

/// Sets a parameter of a shader of the scene.
void setParameter(scene::FunctionElement& shader, std::size_t parameter, std::uint32_t word) {
    scene::Value& value = shader.values[parameter];
    value = {};
    value.kind = scene::Value::Kind::Literal;
    value.words = {word};
    shader.rebuild();
    ++shader.revision;
}

} // namespace

PassPreset::PassPreset(PassRequests requests, scene::Scene& scene, scene::ParserOptions options,
                       scene::ParserCallbacks callbacks)
    : requests_(std::move(requests)),
      scene_(scene),
      options_(std::move(options)),
      callbacks_(std::move(callbacks)),
      text_(scene.database()),
      selection_(scene) {
    callbacks_.render = nullptr; // the generated text renders nothing
}

bool PassPreset::apply(scene::CameraElement& camera, scene::OptionsElement& options, miTag group) {
    const FrameBufferData* const block = ownPassBlock(scene_.database(), camera);
    const PassLayout own = block ? layoutOf(scene_.database(), *block) : PassLayout();
    if (!defined_) {
        if (!selection_.resolve(requests_, group) || !leaveOutWhatIsThere(own, camera)) return false;
        if (!define(own)) return false;
    } else if (!own.isLike(own_)) {
        scene_.log().errorAt(
            camera.location, module,
            "--passes: camera \"{}\" sets up other passes than the camera before; render one "
            "of them at a time",
            camera.name);
        return false;
    }
    if (!prepareCamera(camera, own)) return false;
    if (prepared_.insert(options.tag).second) prepareOptions(options);
    if (own_.empty()) giveShadowsToMaterials();
    giveUtilityShadersToMaterials();
    return selection_.give(options_, callbacks_, text_);
}

std::string PassPreset::text() const {
    return text_.text(shadowName);
}

/// Requests that the scene fulfils itself are dropped; those that it contradicts are errors.
bool PassPreset::leaveOutWhatIsThere(const PassLayout& own, const scene::CameraElement& camera) {
    bool good = true;
    std::erase_if(requests_.layers, [&](const PassRequest& request) {
        const auto record =
            std::find_if(own.records.begin(), own.records.end(),
                         [&](const TypedRecord& each) { return each.frameBuffer == request.layer; });
        const bool isOther =
            std::find(own.others.begin(), own.others.end(), request.layer) != own.others.end();
        if (record == own.records.end() && !isOther) return false;
        const bool isSame = request == requestOf(*request.pass, request.layer) && request.less.empty() &&
                            (isOther ? !request.pass->shader.empty() : record->type == request.pass->type);
        if (isSame) {
            scene_.log().info(module, "camera \"{}\" sets up layer \"{}\" itself", camera.name,
                              request.layer);
            return true;
        }
        scene_.log().errorAt(
            camera.location, module,
            "camera \"{0}\" sets up another layer \"{1}\"; give that of --passes a name of its "
            "own: {2}[...,name=NAME]",
            camera.name, request.layer, request.pass->name);
        good = false;
        return true;
    });
    return good;
}

/// Reads the library's declarations unless the scene has, and creates the shaders that rendering passes
/// needs.
bool PassPreset::define(const PassLayout& own) {
    own_ = own;
    renumberMasks();
    std::string text = libraryText(scene_);
    text += fmt::format("shader \"{}\" \"velaBaseState\" ( \"{}\" on )\n", baseStateName, additiveParameter);
    text += fmt::format("shader \"{}\" \"orcaFrameBufferState\" ( )\n", frameBufferStateName);
    text += fmt::format("shader \"{}\" \"orcaFrameBufferLens\" ( )\n", lensName);
    text += fmt::format("shader \"{}\" \"orcaVelaFastShadow\" ( )\n", shadowName);
    text += shadersText();
    text_.add(text);
    defined_ = scene_.parseText(std::move(text), "<passes>", options_, callbacks_);
    return defined_;
}

/// Utility passes follow the material passes in masks: those of the scene move when passes are added to its
/// own.
void PassPreset::renumberMasks() {
    const auto added = static_cast<std::size_t>(
        std::count_if(requests_.layers.begin(), requests_.layers.end(),
                      [](const PassRequest& request) { return request.pass->type >= 0; }));
    maskPlaces_.more = added;
    maskPlaces_.count = own_.records.size();
    firstBit_ = own_.records.size() + added;
    if (own_.empty()) return;
    for (const TypedRecord& record : own_.records) {
        const auto before =
            std::count_if(requests_.layers.begin(), requests_.layers.end(), [&](const PassRequest& request) {
                return request.pass->type >= 0 && request.pass->type < record.type;
            });
        maskPlaces_.ofRecords.push_back(maskPlaces_.ofRecords.size() + static_cast<std::size_t>(before));
    }
    scene::Database& database = scene_.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        auto* const shader = database.find<scene::FunctionElement>(tag);
        if (!shader || !isUtilityShader(*shader)) continue;
        const miInteger bit = reinterpret_cast<const miInteger*>(shader->function()->parameters)[1];
        if (bit < static_cast<miInteger>(own_.records.size())) continue;
        const std::size_t moved = static_cast<std::size_t>(bit) + added;
        maskPlaces_.count = std::max(maskPlaces_.count, static_cast<std::size_t>(bit) + 1);
        firstBit_ = std::max(firstBit_, moved + 1);
        if (added == 0) continue;
        setParameter(*shader, 1, static_cast<std::uint32_t>(moved));
        text_.addMove(*shader, moved);
    }
}

/// The shaders of the utility passes, one list, which is appended to the list of every material, and one of
/// state shaders; these end with what changes layers that are written.
std::string PassPreset::shadersText() const {
    std::size_t bit = firstBit_, index = own_.others.size();
    std::string list, states, changes;
    for (const PassRequest& request : requests_.layers) {
        const PassDescription& pass = *request.pass;
        if (!request.less.empty())
            changes += fmt::format("    \"orcaPassDifference\" ( \"frameBuffer\" {}, \"subtracted\" {} )\n",
                                   scene::quoted(request.layer), scene::quoted(request.less));
        if (pass.shader.empty()) continue;
        std::string settings(pass.settings);
        for (const auto& [name, value] : request.parameters)
            settings += fmt::format(", {} {}", scene::quoted(name), value);
        if (pass.ofState) {
            states += fmt::format("    \"{}\" ( \"passIndex\" {}{} )\n", pass.shader, index++, settings);
            continue;
        }
        // No shader writes a pass of objects that are not in the picture.
        if (!request.objects.empty())
            states += fmt::format("    \"orcaFrameBufferInit\" ( \"passIndex\" {} )\n", index);
        if (request.background != 0.0f)
            states += fmt::format("    \"orcaPassFarDepth\" ( \"passIndex\" {}, \"value\" {} )\n", index,
                                  request.background);
        list += fmt::format("    \"{}\" ( \"passIndex\" {}, \"contributionIndex\" {}{} )\n", pass.shader,
                            index++, bit++, settings);
    }
    states += changes;
    std::string text;
    if (!list.empty()) text += fmt::format("shader \"{}\"\n{}", utilityName, list);
    if (!states.empty()) text += fmt::format("shader \"{}\"\n{}", utilityStateName, states);
    return text;
}

bool PassPreset::prepareCamera(scene::CameraElement& camera, const PassLayout& own) {
    const bool isNew = prepared_.insert(camera.tag).second;
    if (isNew) addFramebuffers(camera);
    if (!writeBlock(camera, own)) return false;
    if (!isNew) return true;
    // Innermost, so that it sees what the camera ray itself hit.
    if (!listHolds(camera.camera.lens, "orcaFrameBufferLens"))
        camera.camera.lens =
            scene::appendShaders(scene_.database(), camera.camera.lens, scene_.database().named(lensName));
    ++camera.revision;
    text_.addCamera(camera, added_[camera.tag]);
    return true;
}

void PassPreset::addFramebuffers(scene::CameraElement& camera) {
    auto& buffers = camera.framebuffers;
    for (const PassRequest& request : requests_.layers) {
        const std::string& name = request.layer;
        if (std::any_of(buffers.begin(), buffers.end(), [&](const auto& b) { return b.name == name; })) {
            scene_.log().warning(module,
                                 "pass {} goes into frame buffer \"{}\", which camera \"{}\" has already",
                                 request.pass->name, name, camera.name);
            continue;
        }
        const PassDescription& pass = *request.pass;
        scene::FramebufferDefinition statement;
        statement.name = name;
        statement.datatype = request.datatype;
        statement.user = pass.type >= 0 || !pass.shader.empty();
        statement.useopacity = pass.type >= 0 || pass.ofState; // so that layers add up in rasterizer mode too
        buffers.push_back(std::move(statement));
        added_[camera.tag].push_back(name);
    }
}

/// The block of the scene's passes and ours, before all data that the camera has. A scene may change its own
/// from picture to picture.
bool PassPreset::writeBlock(scene::CameraElement& camera, PassLayout own) {
    for (const PassRequest& request : requests_.layers) {
        if (request.pass->type >= 0)
            own.records.push_back(
                {static_cast<PassTypeID>(request.pass->type), request.layer, request.settings});
        else if (!request.pass->shader.empty()) own.others.push_back(request.layer);
    }
    const std::string name = camera.name + addedPassesName;
    std::string text = passBlockText(name, std::move(own.records), own.others);
    std::string& written = blocks_[camera.tag];
    scene::Database& database = scene_.database();
    if (text != written) {
        const bool isFirst = written.empty();
        written = text;
        if (isFirst && camera.camera.userdata != miNULLTAG) { // what the camera has follows the block
            const std::string next = fmt::format("    data {}\nend data\n",
                                                 scene::quoted(database.get(camera.camera.userdata)->name));
            text.replace(text.rfind("end data"), std::string::npos, next);
        }
        if (isFirst) text_.add(text);
        if (isFirst && !own_.empty())
            text_.add("# Masks that are written as digits (orcaPassMask) count the passes of this block.\n");
        if (!scene_.parseText((isFirst ? "" : "incremental ") + text, "<passes>", options_, callbacks_))
            return false;
    }
    auto* const block = database.find<scene::UserdataElement>(database.named(name));
    if (!hasData(database, camera, *block)) {
        block->userdata()->next_data = camera.camera.userdata;
        camera.camera.userdata = block->tag;
        ++camera.revision;
    }
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
    } else if (own_.empty()) {
        letPassesAddUp(list);
    } else {
        reportSumsThatAreOff(list);
    }
    if (!listHolds(list, "orcaFrameBufferState"))
        list = scene::appendShaders(database, list, database.named(frameBufferStateName));
    list = scene::appendShaders(database, list, database.named(utilityStateName));
    ++options.revision;
    text_.addOptions(options, before);
}

/// The scene's own base state shader, and which of its parameters lets passes add up: none when an older
/// library declares it.
std::pair<scene::FunctionElement*, std::optional<std::size_t>> PassPreset::baseState(miTag list) const {
    const std::vector<miTag> shaders = scene::shaderList(scene_.database(), list);
    const auto tag = std::find_if(shaders.begin(), shaders.end(),
                                  [&](miTag shader) { return declarationOf(shader) == "velaBaseState"; });
    auto* base = scene_.database().find<scene::FunctionElement>(*tag);
    const std::vector<scene::Parameter>& parameters = base->declaration->parameters;
    const auto parameter = std::find_if(parameters.begin(), parameters.end(),
                                        [](const auto& p) { return p.name == additiveParameter; });
    if (parameter == parameters.end()) return {base, {}};
    return {base, static_cast<std::size_t>(parameter - parameters.begin())};
}

void PassPreset::letPassesAddUp(miTag list) {
    const auto [base, parameter] = baseState(list);
    if (!parameter) return;
    setParameter(*base, *parameter, 1);
    text_.addSwitch(*base, additiveParameter);
}

/// A scene that sets passes up itself has them as it says.
void PassPreset::reportSumsThatAreOff(miTag list) const {
    const auto [base, parameter] = baseState(list);
    const bool isOn = parameter && base->values[*parameter].words == std::vector<std::uint32_t>{1};
    if (isOn || !requests_.eachLight) return;
    scene_.log().warningAt(
        base->location, module,
        "the layers of --passes relight do not add up to the picture: give \"velaBaseState\" the "
        "parameter \"{}\" on",
        additiveParameter);
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

// SPDX-License-Identifier: Apache-2.0
#include "named_passes.h"

#include "pass_block.h"
#include "pass_block_text.h"
#include "pass_catalogue.h"

#include <orcaNamedPasses.h>

#include <fmt/format.h>

namespace orca::app {

namespace {

constexpr const char* module = "PASS";

std::string textOf(const scene::Database& database, miTag tag) {
    const auto* element = database.find<scene::StringElement>(tag);
    return element ? element->text : std::string();
}

scene::UserdataElement* namedBlock(const scene::Database& database, const scene::CameraElement& camera) {
    for (miTag tag = camera.camera.userdata; tag != miNULLTAG;) {
        auto* element = database.find<scene::UserdataElement>(tag);
        if (!element) return nullptr;
        if (element->declaration && element->declaration->name == "orcaNamedPasses") return element;
        tag = element->userdata()->next_data;
    }
    return nullptr;
}

/// What is wrong with a pass type's name; empty for a good one.
std::string faultOf(const std::string& name) {
    if (name.empty()) return "has no \"passType\"";
    const PassDescription* pass = findPass(name);
    if (pass && pass->type >= 0) return {};
    if (pass)
        return fmt::format("\"passType\" \"{}\" is a utility pass: name its frame buffer in "
                           "\"nonMaterialFrameBuffers\"",
                           name);
    const std::string nearest = nearestPassName(name);
    return fmt::format("there is no \"passType\" \"{}\"{}", name,
                       nearest.empty() ? "; orca-render --list-passes prints them all"
                                       : fmt::format(" (did you mean \"{}\"?)", nearest));
}

} // namespace

bool completeNamedPasses(scene::Scene& scene, const scene::ParserOptions& options,
                         const scene::ParserCallbacks& callbacks, scene::CameraElement& camera) {
    scene::Database& database = scene.database();
    scene::UserdataElement* const element = namedBlock(database, camera);
    if (!element) return true;
    auto& named = *reinterpret_cast<NamedPasses*>(element->userdata()->parameters);

    std::vector<TypedRecord> records;
    bool good = true;
    const NamedPassRecord* const first = arrayElements(named.frameBufferInfo, named.i_frameBufferInfo);
    for (int i = 0; i < named.n_frameBufferInfo; ++i) {
        const std::string type = textOf(database, first[i].passType);
        if (const std::string fault = faultOf(type); !fault.empty()) {
            scene.log().errorAt(element->location, module, "data \"{}\", frameBufferInfo {}: {}",
                                element->name, i, fault);
            good = false;
            continue;
        }
        const std::string buffer = textOf(database, first[i].frameBufferName);
        records.push_back(
            {static_cast<PassTypeID>(findPass(type)->type), buffer.empty() ? type : buffer, first[i]});
    }
    if (!good) return false;

    std::vector<std::string> others;
    const miTag* const names = arrayElements(named.nonMaterialFrameBuffers, named.i_nonMaterialFrameBuffers);
    for (int i = 0; i < named.n_nonMaterialFrameBuffers; ++i) others.push_back(textOf(database, names[i]));

    const std::string name = element->name + ":completed";
    const bool isFirst = database.named(name) == miNULLTAG;
    const std::string text = passBlockText(name, std::move(records), others);
    const int errorsBefore = scene.errors();
    scene.parseText((isFirst ? "" : "incremental ") + text, "<" + element->name + ">", options, callbacks);
    if (scene.errors() > errorsBefore) return false;
    auto* const block = database.find<scene::UserdataElement>(database.named(name));
    if (!hasData(database, camera, *block)) {
        block->userdata()->next_data = camera.camera.userdata;
        camera.camera.userdata = block->tag;
    }
    ++camera.revision;
    return true;
}

} // namespace orca::app

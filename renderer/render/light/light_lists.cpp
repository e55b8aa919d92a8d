// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_lists.h"

#include "render/context/render_context.h"
#include "render/light/light_chooser.h"
#include "scene/elements/elements.h"

#include <algorithm>
#include <span>
#include <vector>

namespace orca::render {

namespace {

void expand(const Frame& frame, miTag tag, std::vector<miTag>& lights) {
    if (frame.lights.of(tag)) {
        lights.push_back(tag);
        return;
    }
    miTag group = tag;
    if (const auto* instance = frame.database.find<scene::InstanceElement>(tag))
        group = instance->instance.item;
    if (const auto* members = frame.database.find<scene::GroupElement>(group))
        for (const miTag member : members->members) expand(frame, member, lights);
}

void giveChoice(const shading::LightChoice& choice, int& count, miTag*& lights) {
    count = choice.count;
    lights = choice.lights;
}

void returnList(RenderContext& context, const miState& state, const std::vector<miTag>& list, int& count,
                miTag*& lights) {
    const LightChooser* const chooser = context.frame.lightChooser;
    if (const auto* const choice = chooser ? chooser->ofListed(context, state, list) : nullptr)
        return giveChoice(*choice, count, lights);
    lights =
        static_cast<miTag*>(context.arena.allocate(std::max<std::size_t>(1, list.size()) * sizeof(miTag)));
    std::copy(list.begin(), list.end(), lights);
    count = static_cast<int>(list.size());
}

} // namespace

miBoolean instanceLights(int& count, miTag*& lights, miState* state) {
    RenderContext& context = renderContextOf(state);
    const geometry::MeshInstance* meshInstance = context.frame.meshInstanceOf(state->instance);
    if (const LightChooser* const chooser = context.frame.lightChooser)
        if (const auto* const choice =
                chooser->ofList(context, *state, meshInstance ? meshInstance->lightList : 0)) {
            giveChoice(*choice, count, lights);
            return miTRUE;
        }
    const std::span<const miTag> list =
        meshInstance ? context.frame.geometry.lightsOf(*meshInstance) : context.frame.geometry.lights();
    count = static_cast<int>(list.size());
    lights = const_cast<miTag*>(list.data()); // not const in the interface, but read-only to shaders
    return miTRUE;
}

miBoolean inclusiveLights(int& count, miTag*& lights, miState* state) {
    RenderContext& context = renderContextOf(state);
    std::vector<miTag> list;
    for (int i = 0; i < count; ++i) expand(context.frame, lights[i], list);
    returnList(context, *state, list, count, lights);
    return miTRUE;
}

miBoolean exclusiveLights(int& count, miTag*& lights, miState* state) {
    RenderContext& context = renderContextOf(state);
    std::vector<miTag> excluded;
    for (int i = 0; i < count; ++i) expand(context.frame, lights[i], excluded);
    std::vector<miTag> list;
    for (const miTag light : context.frame.geometry.lights())
        if (std::find(excluded.begin(), excluded.end(), light) == excluded.end()) list.push_back(light);
    returnList(context, *state, list, count, lights);
    return miTRUE;
}

} // namespace orca::render

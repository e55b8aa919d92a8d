// SPDX-License-Identifier: Apache-2.0
#include "pass_selection.h"

#include "base/nearest_name.h"
#include "scene/language/scene_writer.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

constexpr const char* module = "PASS";
constexpr const char* restName = "rest"; // of the layer of what no light owns
constexpr std::size_t mostObjects = 256; // more masks are no layers to work with

/// The name, or one with a number that is not taken yet.
std::string uniqueLayer(const std::string& wanted, const PassRequests& requests) {
    const auto isTaken = [&](const std::string& name) {
        return std::any_of(requests.layers.begin(), requests.layers.end(),
                           [&](const PassRequest& request) { return request.layer == name; });
    };
    std::string name = wanted;
    for (int number = 2; isTaken(name); ++number) name = fmt::format("{}_{}", wanted, number);
    return name;
}

} // namespace

/// A group that several members place has one name for all of them: what is below of it is the same.
std::string PassSelection::memberName(const scene::GroupElement& group,
                                      const scene::InstanceElement& instance) const {
    const scene::Database& database = scene_.database();
    const auto* const placed = database.find<scene::GroupElement>(instance.instance.item);
    if (!placed) return instance.name;
    const auto places = std::count_if(group.members.begin(), group.members.end(), [&](miTag member) {
        const auto* const other = database.find<scene::InstanceElement>(member);
        return other && other->instance.item == instance.instance.item;
    });
    return places > 1 ? placed->name : instance.name;
}

void PassSelection::collect(miTag tag, const std::string& member, std::set<miTag>& path) {
    const scene::Database& database = scene_.database();
    const auto* const group = database.find<scene::GroupElement>(tag);
    if (!group || !path.insert(tag).second) return;
    for (const miTag each : group->members) {
        const auto* const instance = database.find<scene::InstanceElement>(each);
        if (!instance) continue;
        const miTag item = instance->instance.item;
        const std::string& name = member.empty() ? memberName(*group, *instance) : member;
        if (database.find<scene::GroupElement>(item)) {
            collect(item, name, path);
            continue;
        }
        Leaves* const leaves = database.find<scene::LightElement>(item)    ? &lights_
                               : database.find<scene::ObjectElement>(item) ? &objects_
                                                                           : nullptr;
        if (!leaves) continue;
        Leaf& leaf = (*leaves)[each];
        leaf.name = instance->name;
        leaf.members.insert(name);
    }
    path.erase(tag);
}

/// The whole light with one light less what there is without any.
void PassSelection::addLights(PassRequests& requests) {
    const PassDescription& beauty = *findPass("beauty");
    const std::string rest = uniqueLayer(restName, requests);
    requests.layers.push_back(requestOf(beauty, rest));
    for (auto& [tag, leaf] : lights_) leaf.without.insert(rest);
    for (const auto& [tag, leaf] : lights_) {
        PassRequest request = requestOf(beauty, uniqueLayer("light_" + layerName(leaf.name), requests));
        request.datatype = "rgb_fp"; // the coverage is that of the rest
        request.less = rest;
        for (auto& [other, otherLeaf] : lights_)
            if (other != tag) otherLeaf.without.insert(request.layer);
        requests.layers.push_back(std::move(request));
    }
}

bool PassSelection::hasVolumes() const {
    const scene::Database& database = scene_.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* const camera = database.find<scene::CameraElement>(tag);
        const auto* const material = database.find<scene::MaterialElement>(tag);
        if ((camera && camera->camera.volume != miNULLTAG) ||
            (material && material->material.volume != miNULLTAG))
            return true;
    }
    return false;
}

/// Those that have been asked for already are not added.
void PassSelection::addVolumes(PassRequests& requests) {
    for (const char* const name : {"lightVolume", "sceneVolume", "objectVolume"}) {
        PassRequest request = requestOf(*findPass(name), name);
        if (uniqueLayer(request.layer, requests) == request.layer)
            requests.layers.push_back(std::move(request));
    }
}

bool PassSelection::addObjects(PassRequests& requests) {
    std::set<std::string> members;
    for (const auto& [tag, leaf] : objects_) members.insert(leaf.members.begin(), leaf.members.end());
    if (members.size() > mostObjects) {
        scene_.log().error(
            module,
            "--passes objects would make {} masks, more than {}: ask for those that are wanted, "
            "such as coverage[object=NAME]",
            members.size(), mostObjects);
        return false;
    }
    for (const std::string& member : members) {
        PassRequest request =
            requestOf(*findPass("coverage"), uniqueLayer("object_" + layerName(member), requests));
        request.objects = {member};
        for (auto& [tag, leaf] : objects_)
            if (!leaf.members.count(member)) leaf.without.insert(request.layer);
        requests.layers.push_back(std::move(request));
    }
    return true;
}

bool PassSelection::leaveOut(Leaves& leaves, const PassRequest& request,
                             const std::vector<std::string>& patterns, const char* kind) {
    if (patterns.empty()) return true;
    const auto fits = [](const Leaf& leaf, const std::string& pattern) {
        return fitsPattern(leaf.name, {pattern}) ||
               std::any_of(leaf.members.begin(), leaf.members.end(),
                           [&](const std::string& member) { return fitsPattern(member, {pattern}); });
    };
    bool good = true;
    std::vector<std::string_view> names;
    for (const auto& [tag, leaf] : leaves) {
        names.push_back(leaf.name);
        names.insert(names.end(), leaf.members.begin(), leaf.members.end());
    }
    for (const std::string& pattern : patterns) {
        if (std::any_of(leaves.begin(), leaves.end(),
                        [&](const auto& entry) { return fits(entry.second, pattern); }))
            continue;
        const std::string nearest = nearestName(pattern, names);
        scene_.log().error(module, "layer \"{}\" of --passes: the scene has no instance \"{}\" of {}{}",
                           request.layer, pattern, kind,
                           nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
        good = false;
    }
    for (auto& [tag, leaf] : leaves)
        if (std::none_of(patterns.begin(), patterns.end(),
                         [&, &leaf = leaf](const std::string& pattern) { return fits(leaf, pattern); }))
            leaf.without.insert(request.layer);
    return good;
}

bool PassSelection::resolve(PassRequests& requests, miTag group) {
    std::set<miTag> path;
    collect(group, "", path);
    bool good = true;
    for (const PassRequest& request : requests.layers) {
        good = leaveOut(lights_, request, request.lights, "a light") && good;
        good = leaveOut(objects_, request, request.objects, "an object") && good;
    }
    if (requests.volumesOfScene && hasVolumes()) addVolumes(requests);
    if (requests.eachLight) addLights(requests);
    if (requests.eachObject) good = addObjects(requests) && good;
    return good;
}

bool PassSelection::hasLinks(const scene::InstanceElement& instance) const {
    const scene::Database& database = scene_.database();
    const auto* data = database.find<scene::UserdataElement>(instance.instance.userdata);
    for (; data; data = database.find<scene::UserdataElement>(data->userdata()->next_data))
        if (data->name.rfind(selectionLinksName, 0) == 0) return true;
    return false;
}

bool PassSelection::give(const scene::ParserOptions& options, const scene::ParserCallbacks& callbacks,
                         PassPresetText& text) {
    const scene::Database& database = scene_.database();
    for (const Leaves* const leaves : {&lights_, &objects_}) {
        for (const auto& [tag, leaf] : *leaves) {
            auto* const instance = database.find<scene::InstanceElement>(tag);
            if (!instance || leaf.without.empty() || hasLinks(*instance)) continue;
            miTag& data = instance->instance.userdata;
            const auto [links, isNew] = links_.try_emplace(
                {leaf.without, data}, fmt::format("{} {}", selectionLinksName, links_.size() + 1));
            if (isNew) {
                std::vector<std::string> names;
                for (const std::string& layer : leaf.without) names.push_back(scene::quoted(layer));
                const std::string next =
                    data == miNULLTAG ? "" : fmt::format(" data {}", scene::quoted(database.get(data)->name));
                const std::string statement =
                    fmt::format("data {} \"orcaPassLinks\" ( \"exclude\" [ {} ] ){} end data\n",
                                scene::quoted(links->second), fmt::join(names, ", "), next);
                text.add(statement);
                if (!scene_.parseText(statement, "<passes>", options, callbacks)) return false;
            }
            data = database.named(links->second);
            ++instance->revision;
            text.addInstance(*instance);
        }
    }
    return true;
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "geometry/flattened_scene.h"

#include <algorithm>
#include <memory>

namespace orca::geometry {

namespace {

/// Deeper than any scene that is not a group inside itself.
constexpr int deepestLightGroup = 256;

/// Local to world at the ends of all motion steps; empty where the way is straight or leads nowhere.
std::vector<scene::InstanceElement::Matrix> motionPathOf(const Inherited& inherited) {
    std::vector<scene::InstanceElement::Matrix> path;
    if (inherited.inBetween.empty()) return path;
    bool flatAtStart = false, flatAtEnd = false;
    const Transform start = inverse(inherited.worldToLocal, flatAtStart);
    const Transform end = inverse(inherited.worldToLocalAtEnd, flatAtEnd);
    if (flatAtStart || flatAtEnd) return path;
    const auto append = [&](const Transform& toWorld) { toWorld.store(path.emplace_back().data()); };
    append(start);
    for (const Transform& toWorld : inherited.inBetween) append(toWorld);
    append(end);
    return path;
}

} // namespace

FlattenedScene::FlattenedScene(scene::Database& database, Log& log, miTag rootGroup, int motionSteps)
    : database_(database), log_(log) {
    if (!database_.find<scene::GroupElement>(rootGroup)) {
        log_.error("GEOM", "the root of the scene is not an instance group; nothing is rendered");
        return;
    }
    Inherited world;
    world.motionSteps = motionSteps;
    visitGroup(rootGroup, world);
}

FlattenedScene::~FlattenedScene() {
    for (const miTag copy : copies_) database_.remove(copy);
}

void FlattenedScene::visitGroup(miTag group, const Inherited& inherited) {
    const auto* const element = database_.find<scene::GroupElement>(group);
    if (std::find(openGroups_.begin(), openGroups_.end(), group) != openGroups_.end()) {
        log_.errorAt(element->location, "GEOM",
                     "instance group \"{}\" contains itself; the inner one is left out", element->name);
        return;
    }
    openGroups_.push_back(group);
    for (const miTag member : element->members) {
        if (auto* const instance = database_.find<scene::InstanceElement>(member))
            visitInstance(*instance, inherited);
        else
            log_.errorAt(element->location, "GEOM",
                         "instance group \"{}\" has a member that is not an instance", element->name);
    }
    openGroups_.pop_back();
}

void FlattenedScene::visitInstance(scene::InstanceElement& instance, const Inherited& above) {
    instance.instance.off = instance.hidden;
    if (instance.hidden) return;

    const Inherited inherited = above.below(instance);
    scene::Element* const item = database_.get(instance.instance.item);
    if (!item) return; // the reader has said what is missing
    switch (item->type) {
    case miSCENE_GROUP:
        place(instance, inherited, above.parent);
        visitGroup(item->tag, inherited);
        break;
    case miSCENE_OBJECT: {
        scene::InstanceElement& meshInstance = place(instance, inherited, above.parent);
        objectInstances.push_back({&meshInstance, static_cast<scene::ObjectElement*>(item), inherited});
        objectInstances.back().inherited.inBetween = {}; // the instance has them now, and leaves are many
        break;
    }
    case miSCENE_LIGHT: lights.push_back(place(instance, inherited, above.parent).tag); break;
    case miSCENE_CAMERA: place(instance, inherited, above.parent); break;
    default:
        log_.errorAt(instance.location, "GEOM",
                     "instance \"{}\" places \"{}\", which is no object, light, camera or instance group",
                     instance.name, item->name);
    }
}

scene::InstanceElement& FlattenedScene::place(scene::InstanceElement& instance, const Inherited& inherited,
                                              miTag parent) {
    scene::InstanceElement* placed = &instance;
    std::vector<miTag>& places = places_[instance.tag];
    if (!places.empty()) {
        auto copy = std::make_unique<scene::InstanceElement>(instance);
        placed = copy.get();
        copies_.push_back(database_.add(std::move(copy)));
    }
    places.push_back(placed->tag);

    bool singular = false;
    const Transform localToWorld = inverse(inherited.worldToLocal, singular);
    const Transform worldToLocal = singular ? Transform{} : inherited.worldToLocal;
    if (singular)
        log_.errorAt(
            instance.location, "GEOM",
            "the transforms down to instance \"{}\" cannot be inverted; it stands where the world does",
            instance.name);

    miInstance& record = placed->instance;
    worldToLocal.store(record.tf.global_to_local);
    localToWorld.store(record.tf.local_to_global);
    inherited.worldToLocalAtEnd.store(record.motion_transform);
    placed->motionPath = motionPathOf(inherited);
    record.tf.identity = worldToLocal.isIdentity();
    record.motion = inherited.moves();
    record.parent = parent;
    record.off = miFALSE;
    return *placed;
}

const std::vector<miTag>& FlattenedScene::placesOf(miTag instance) const {
    static const std::vector<miTag> nowhere;
    const auto found = places_.find(instance);
    return found == places_.end() ? nowhere : found->second;
}

std::vector<miTag> FlattenedScene::expandLights(const std::vector<miTag>& entries) const {
    std::vector<miTag> found;
    for (const miTag entry : entries) expandInto(entry, found, 0);
    return found;
}

void FlattenedScene::expandInto(miTag entry, std::vector<miTag>& found, int depth) const {
    if (depth > deepestLightGroup) return;
    if (const auto* const group = database_.find<scene::GroupElement>(entry)) {
        for (const miTag member : group->members) expandInto(member, found, depth + 1);
        return;
    }
    const auto* const instance = database_.find<scene::InstanceElement>(entry);
    if (!instance || instance->hidden) return;
    const scene::Element* const item = database_.get(instance->instance.item);
    if (item && item->type == miSCENE_GROUP) {
        expandInto(item->tag, found, depth + 1);
    } else if (item && item->type == miSCENE_LIGHT) {
        const std::vector<miTag>& places = placesOf(entry);
        if (places.empty())
            log_.once("unplaced light " + std::to_string(entry),
                      {LogLevel::Warning, "GEOM", 0,
                       "light instance \"" + instance->name +
                           "\" is in a light list but not below the rendered group; it gives no light",
                       instance->location});
        for (const miTag place : places)
            if (std::find(found.begin(), found.end(), place) == found.end()) found.push_back(place);
    }
}

} // namespace orca::geometry

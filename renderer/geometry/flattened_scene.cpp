// SPDX-License-Identifier: Apache-2.0
#include "geometry/flattened_scene.h"

#include <algorithm>
#include <memory>

namespace orca::geometry {

namespace {

/// Deeper than any scene that is not a group inside itself.
constexpr int deepestLightGroup = 256;

/// Local to world at the ends of all motion steps; empty where the motion is a single step or an end of it is
/// singular.
std::vector<scene::InstanceElement::Matrix> motionPathOf(const Inherited& inherited) {
    std::vector<scene::InstanceElement::Matrix> path;
    if (inherited.inBetween.empty()) return path;
    bool singularAtStart = false, singularAtEnd = false;
    const Transform start = inverse(inherited.worldToLocal, singularAtStart);
    const Transform end = inverse(inherited.worldToLocalAtEnd, singularAtEnd);
    if (singularAtStart || singularAtEnd) return path;
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
    findEmitters();
    Inherited world;
    world.motionSteps = motionSteps;
    visitGroup(rootGroup, world);
}

FlattenedScene::~FlattenedScene() {
    for (const miTag copy : copies_) database_.remove(copy);
}

void FlattenedScene::findEmitters() {
    for (miTag tag = 1; tag < database_.endTag(); ++tag)
        if (const auto* const light = database_.find<scene::LightElement>(tag);
            light && light->areaObject != miNULLTAG)
            emitters_[light->areaObject];
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
    const std::size_t emittersAbove = openEmitters_.size();
    for (const miTag emitter : {instance.tag, item->tag})
        if (emitters_.contains(emitter)) openEmitters_.push_back(emitter);
    switch (item->type) {
    case miSCENE_GROUP:
        addPath(instance, inherited, above.parent);
        visitGroup(item->tag, inherited);
        break;
    case miSCENE_OBJECT: {
        scene::InstanceElement& meshInstance = addPath(instance, inherited, above.parent);
        objectInstances.push_back({&meshInstance, static_cast<scene::ObjectElement*>(item), inherited});
        objectInstances.back().inherited.inBetween = {}; // the instance has them now, and there are many
        for (const miTag emitter : openEmitters_) emitters_[emitter].push_back(meshInstance.tag);
        break;
    }
    case miSCENE_LIGHT: {
        scene::InstanceElement& placed = addPath(instance, inherited, above.parent);
        placed.instance.visible = inherited.visible.value.value_or(true);
        placed.instance.trace = inherited.trace.value.value_or(true);
        lights.push_back(placed.tag);
        break;
    }
    case miSCENE_CAMERA: addPath(instance, inherited, above.parent); break;
    default:
        log_.errorAt(instance.location, "GEOM",
                     "instance \"{}\" places \"{}\", which is no object, light, camera or instance group",
                     instance.name, item->name);
    }
    openEmitters_.resize(emittersAbove);
}

scene::InstanceElement& FlattenedScene::addPath(scene::InstanceElement& instance, const Inherited& inherited,
                                                miTag parent) {
    scene::InstanceElement* ofPath = &instance;
    std::vector<miTag>& paths = paths_[instance.tag];
    if (!paths.empty()) {
        auto copy = std::make_unique<scene::InstanceElement>(instance);
        ofPath = copy.get();
        copies_.push_back(database_.add(std::move(copy)));
    }
    paths.push_back(ofPath->tag);

    bool singular = false;
    const Transform localToWorld = inverse(inherited.worldToLocal, singular);
    const Transform worldToLocal = singular ? Transform{} : inherited.worldToLocal;
    if (singular)
        log_.errorAt(
            instance.location, "GEOM",
            "the transforms down to instance \"{}\" cannot be inverted; it is placed at the world's origin",
            instance.name);

    miInstance& record = ofPath->instance;
    worldToLocal.store(record.tf.global_to_local);
    localToWorld.store(record.tf.local_to_global);
    inherited.worldToLocalAtEnd.store(record.motion_transform);
    ofPath->motionPath = motionPathOf(inherited);
    record.tf.identity = worldToLocal.isIdentity();
    record.motion = inherited.moves();
    record.parent = parent;
    record.off = miFALSE;
    return *ofPath;
}

const std::vector<miTag>& FlattenedScene::pathsTo(miTag instance) const {
    static const std::vector<miTag> none;
    const auto found = paths_.find(instance);
    return found == paths_.end() ? none : found->second;
}

const std::vector<miTag>& FlattenedScene::membersOf(miTag emitter) const {
    static const std::vector<miTag> none;
    const auto found = emitters_.find(emitter);
    return found == emitters_.end() ? none : found->second;
}

bool FlattenedScene::emits(miTag objectInstance) const {
    return std::any_of(emitters_.begin(), emitters_.end(), [&](const auto& emitter) {
        const std::vector<miTag>& members = emitter.second;
        return std::find(members.begin(), members.end(), objectInstance) != members.end();
    });
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
        const std::vector<miTag>& paths = pathsTo(entry);
        if (paths.empty())
            log_.once("light below no group " + std::to_string(entry),
                      {LogLevel::Warning, "GEOM", 0,
                       "light instance \"" + instance->name +
                           "\" is in a light list but not below the rendered group; it gives no light",
                       instance->location});
        for (const miTag light : paths)
            if (std::find(found.begin(), found.end(), light) == found.end()) found.push_back(light);
    }
}

} // namespace orca::geometry

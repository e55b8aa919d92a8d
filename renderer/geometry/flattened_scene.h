// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/inheritance.h"
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <unordered_map>
#include <vector>

namespace orca::geometry {

/// The scene graph with one instance for every path from a root group down to an object, light or camera. The
/// first path to an instance fills the instance's own record, each further one a copy with its own tag, which
/// is removed from the database with this object.
class FlattenedScene {
public:
    /// `motionSteps`: equal segments of the shutter along which transforms move.
    FlattenedScene(scene::Database& database, Log& log, miTag rootGroup, int motionSteps);
    ~FlattenedScene();
    FlattenedScene(const FlattenedScene&) = delete;
    FlattenedScene& operator=(const FlattenedScene&) = delete;

    struct ObjectInstance {
        scene::InstanceElement* instance;
        scene::ObjectElement* object;
        Inherited inherited;
    };
    std::vector<ObjectInstance> objectInstances; ///< in scene-graph order
    std::vector<miTag> lights;                   ///< light instances, in scene-graph order

    /// One tag for every path to an instance, its own first; empty when it is not below the root.
    [[nodiscard]] const std::vector<miTag>& pathsTo(miTag instance) const;
    /// The light instances of a list, groups replaced by their members, in the order of the list; each once.
    [[nodiscard]] std::vector<miTag> expandLights(const std::vector<miTag>& entries) const;
    /// Instances of objects at or below what a light names as its emitter, an instance or an object.
    [[nodiscard]] const std::vector<miTag>& membersOf(miTag emitter) const;
    /// True for an instance that is a member of any.
    [[nodiscard]] bool emits(miTag objectInstance) const;

private:
    void findEmitters();
    void visitGroup(miTag group, const Inherited& inherited);
    void visitInstance(scene::InstanceElement& instance, const Inherited& above);
    scene::InstanceElement& addPath(scene::InstanceElement& instance, const Inherited& inherited,
                                    miTag parent);
    void expandInto(miTag entry, std::vector<miTag>& lights, int depth) const;

    scene::Database& database_;
    Log& log_;
    std::vector<miTag> openGroups_;
    std::vector<miTag> copies_;
    std::unordered_map<miTag, std::vector<miTag>> paths_;
    std::unordered_map<miTag, std::vector<miTag>> emitters_; ///< members by emitter
    std::vector<miTag> openEmitters_;
};

} // namespace orca::geometry

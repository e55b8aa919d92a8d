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

/// Every way from a root group down to objects, lights and cameras. Each gets an instance record of its own:
/// the first way to an instance fills the instance's own record, each further one a copy with its own tag,
/// taken back when the graph goes.
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
    std::vector<miTag> lights;                   ///< placed light instances, in scene-graph order

    /// All places of an instance, copies included; empty when it does not stand below the root.
    [[nodiscard]] const std::vector<miTag>& placesOf(miTag instance) const;
    /// Light instances that a list's entries stand for, in the order of the list; each once.
    [[nodiscard]] std::vector<miTag> expandLights(const std::vector<miTag>& entries) const;

private:
    void visitGroup(miTag group, const Inherited& inherited);
    void visitInstance(scene::InstanceElement& instance, const Inherited& above);
    scene::InstanceElement& place(scene::InstanceElement& instance, const Inherited& inherited, miTag parent);
    void expandInto(miTag entry, std::vector<miTag>& lights, int depth) const;

    scene::Database& database_;
    Log& log_;
    std::vector<miTag> openGroups_;
    std::vector<miTag> copies_;
    std::unordered_map<miTag, std::vector<miTag>> places_;
};

} // namespace orca::geometry

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/frame.h"
#include "scene/making/scene_maker.h"

#include <unordered_set>
#include <vector>

namespace orca::render {

/// Runs the geometry shaders of the instances below a group, in scene-graph order, each instance once: what a
/// shader delivers becomes what its instance places. The destructor restores the scene.
class GeometryShaders {
public:
    GeometryShaders(scene::Database& database, Log& log, miTag rootGroup);
    ~GeometryShaders();
    GeometryShaders(const GeometryShaders&) = delete;
    GeometryShaders& operator=(const GeometryShaders&) = delete;

    /// False where there are none, so that nothing has to be run.
    [[nodiscard]] bool areThere() const { return !instances_.empty(); }
    /// @param frame of the picture to come, over a scene without geometry
    void run(const Frame& frame);

private:
    void find(miTag group);
    void run(const Frame& frame, scene::InstanceElement& instance);

    scene::Database& database_;
    std::vector<scene::InstanceElement*> instances_;
    std::unordered_set<miTag> seen_; ///< groups and instances with shaders, which several paths may reach
    scene::SceneMaker maker_;
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "node_poses.h"

#include <map>
#include <vector>

namespace orca::bridge {

/// Points and normals of meshes between their morph targets at a moment of an animation.
class MorphTargets {
public:
    /// @param animation null: the weights are those of the file's rest pose
    MorphTargets(const aiScene& scene, const aiAnimation* animation);

    /// The mesh's own points for a mesh without targets. A mesh of several nodes has the weights of the last
    /// that the animation gives some.
    [[nodiscard]] MeshPose at(unsigned mesh, Moment moment) const;
    [[nodiscard]] bool has(unsigned mesh) const;
    /// Whether a channel of the animation sets weights.
    [[nodiscard]] bool moves(unsigned mesh) const { return channels_.contains(mesh); }

private:
    [[nodiscard]] std::vector<float> weights(unsigned mesh, Moment moment) const;

    const aiScene& scene_;
    double ticksPerSecond_ = 1;
    std::map<unsigned, std::vector<const aiMeshMorphAnim*>> channels_; // by mesh
};

} // namespace orca::bridge

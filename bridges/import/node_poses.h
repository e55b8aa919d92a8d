// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model_file.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orca::bridge {

/// A moment of an animation in seconds; nothing: the file's rest pose.
using Moment = std::optional<double>;

/// Where the nodes of a scene are at a moment.
class NodePoses {
public:
    /// @param animation null: nothing moves
    NodePoses(const aiScene& scene, const aiAnimation* animation);

    /// From the node's space into its parent's.
    [[nodiscard]] Matrix local(const aiNode& node, Moment moment) const;
    /// From the node's space into that of the root node's parent.
    [[nodiscard]] Matrix global(const aiNode& node, Moment moment) const;
    /// Whether the node itself moves against its parent.
    [[nodiscard]] bool moves(const aiNode& node) const;
    /// Whether it or a node above does.
    [[nodiscard]] bool isCarried(const aiNode& node) const;

    /// Null when there is none of that name.
    [[nodiscard]] const aiNode* node(const aiString& name) const;

private:
    const aiScene& scene_;
    double ticksPerSecond_ = 1;
    std::map<std::string, const aiNodeAnim*> channels_; // by node
};

/// How fast an animation's time runs.
[[nodiscard]] double ticksPerSecond(const aiAnimation& animation);

/// Points of a mesh, and their normals, which are unit; empty where the mesh has none.
struct MeshPose {
    std::vector<aiVector3D> positions, normals;
};
/// The mesh's own points.
[[nodiscard]] MeshPose restPose(const aiMesh& mesh);
/// Linear blend of the bones' motions: the points in the space of the root node's parent.
/// @param rest where they are without the bones
[[nodiscard]] MeshPose bent(const aiMesh& mesh, const MeshPose& rest, const NodePoses& poses, Moment moment);

} // namespace orca::bridge

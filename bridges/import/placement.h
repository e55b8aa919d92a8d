// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "imported_scene.h"
#include "node_poses.h"

#include <vector>

namespace orca::bridge {

class MorphTargets;

/// A mesh of a node.
struct PlacedMesh {
    const aiNode* node;
    unsigned mesh;
};
/// All of them, a node before its children. A mesh may come several times.
[[nodiscard]] std::vector<PlacedMesh> placedMeshes(const aiScene& scene);

/// From the space of the root node's parent to the scene's: units and up axis.
[[nodiscard]] Matrix worldOf(const ModelFile& model, const ImportOptions& options);

/// From a space that looks along -z with y up, without any stretch, to the scene's; for cameras and lights.
/// @param position, direction, up in the space of `matrix`; up may be anything
[[nodiscard]] Matrix rigid(const Matrix& matrix, const aiVector3D& position, const aiVector3D& direction,
                           const aiVector3D& up);

[[nodiscard]] aiVector3t<double> placeOf(const Matrix& matrix);

/// A box along the axes; empty where low is above high.
struct Box {
    aiVector3t<double> low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};

    void include(const aiVector3t<double>& point);
    [[nodiscard]] bool isEmpty() const { return low.x > high.x; }
    [[nodiscard]] aiVector3t<double> centre() const { return (low + high) * 0.5; }
    [[nodiscard]] double radius() const { return (high - low).Length() * 0.5; }
};
/// Of all triangles in the scene's space.
[[nodiscard]] Box boundsOf(const aiScene& scene, const NodePoses& poses, const MorphTargets& morphs,
                           const Matrix& world, Moment moment);

} // namespace orca::bridge

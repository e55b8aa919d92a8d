// SPDX-License-Identifier: Apache-2.0
#include "placement.h"

#include "morph_targets.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace orca::bridge {

namespace {

void collect(const aiNode& node, std::vector<PlacedMesh>& all) {
    for (unsigned i = 0; i < node.mNumMeshes; ++i) all.push_back({&node, node.mMeshes[i]});
    for (unsigned i = 0; i < node.mNumChildren; ++i) collect(*node.mChildren[i], all);
}

} // namespace

std::vector<PlacedMesh> placedMeshes(const aiScene& scene) {
    std::vector<PlacedMesh> all;
    collect(*scene.mRootNode, all);
    std::erase_if(all, [&](const PlacedMesh& placed) { return placed.mesh >= scene.mNumMeshes; });
    return all;
}

Matrix worldOf(const ModelFile& model, const ImportOptions& options) {
    const double scale = model.metresPerUnit() * options.scale;
    Matrix world;
    if (options.zIsUp.value_or(model.zIsUp())) Matrix::RotationX(-std::numbers::pi / 2, world);
    Matrix scaling;
    Matrix::Scaling({scale, scale, scale}, scaling);
    return world * scaling;
}

Matrix rigid(const Matrix& matrix, const aiVector3D& position, const aiVector3D& direction,
             const aiVector3D& up) {
    using Vector = aiVector3t<double>;
    const aiMatrix3x3t<double> turn(matrix);
    const Vector place = matrix * Vector(position.x, position.y, position.z);
    Vector z = turn * Vector(-direction.x, -direction.y, -direction.z);
    if (z.SquareLength() == 0) z = {0, 0, 1};
    z.Normalize();
    Vector x = (turn * Vector(up.x, up.y, up.z)) ^ z;
    if (x.SquareLength() < 1e-12) x = Vector(0, 1, 0) ^ z;
    if (x.SquareLength() < 1e-12) x = {1, 0, 0};
    x.Normalize();
    const Vector y = z ^ x;
    return {x.x, y.x, z.x, place.x, x.y, y.y, z.y, place.y, x.z, y.z, z.z, place.z, 0, 0, 0, 1};
}

aiVector3t<double> placeOf(const Matrix& matrix) {
    return {matrix.a4, matrix.b4, matrix.c4};
}

void Box::include(const aiVector3t<double>& point) {
    if (!std::isfinite(point.x + point.y + point.z)) return;
    low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
    high = {std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z)};
}

Box boundsOf(const aiScene& scene, const NodePoses& poses, const MorphTargets& morphs, const Matrix& world,
             Moment moment) {
    Box box;
    for (const PlacedMesh& placed : placedMeshes(scene)) {
        const aiMesh& mesh = *scene.mMeshes[placed.mesh];
        const bool isBent = mesh.HasBones();
        const Matrix matrix = isBent ? world : world * poses.global(*placed.node, moment);
        Box own;
        MeshPose pose;
        std::span<const aiVector3D> points(mesh.mVertices, mesh.mNumVertices);
        if (isBent || morphs.has(placed.mesh)) {
            pose = morphs.at(placed.mesh, moment);
            if (isBent) pose = bent(mesh, pose, poses, moment);
            points = pose.positions;
        }
        for (const aiVector3D& p : points) own.include({p.x, p.y, p.z});
        if (own.isEmpty()) continue;
        for (int corner = 0; corner < 8; ++corner)
            box.include(matrix * aiVector3t<double>(corner & 1 ? own.high.x : own.low.x,
                                                    corner & 2 ? own.high.y : own.low.y,
                                                    corner & 4 ? own.high.z : own.low.z));
    }
    return box;
}

} // namespace orca::bridge

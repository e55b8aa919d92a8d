// SPDX-License-Identifier: Apache-2.0
#include "node_poses.h"

#include <algorithm>

namespace orca::bridge {

namespace {

/// The value at a time between the keys; before the first and after the last the nearest one's.
template <class Key, class Blend>
auto valueAt(const Key* keys, unsigned count, double tick, Blend blend) {
    const Key* const after = std::upper_bound(keys, keys + count, tick,
                                              [](double time, const Key& key) { return time < key.mTime; });
    if (after == keys) return keys[0].mValue;
    if (after == keys + count) return keys[count - 1].mValue;
    const Key &from = after[-1], &to = *after;
    return blend(from.mValue, to.mValue, static_cast<float>((tick - from.mTime) / (to.mTime - from.mTime)));
}

aiVector3D vectorAt(const aiVectorKey* keys, unsigned count, double tick, const aiVector3D& otherwise) {
    if (count == 0) return otherwise;
    return valueAt(keys, count, tick,
                   [](const aiVector3D& a, const aiVector3D& b, float t) { return a + (b - a) * t; });
}

aiQuaternion rotationAt(const aiQuatKey* keys, unsigned count, double tick, const aiQuaternion& otherwise) {
    if (count == 0) return otherwise;
    return valueAt(keys, count, tick, [](const aiQuaternion& a, const aiQuaternion& b, float t) {
        aiQuaternion between;
        aiQuaternion::Interpolate(between, a, b, t);
        return between.Normalize();
    });
}

} // namespace

NodePoses::NodePoses(const aiScene& scene, const aiAnimation* animation) : scene_(scene) {
    if (!animation) return;
    ticksPerSecond_ = ticksPerSecond(*animation);
    for (unsigned i = 0; i < animation->mNumChannels; ++i)
        channels_[animation->mChannels[i]->mNodeName.C_Str()] = animation->mChannels[i];
}

Matrix NodePoses::local(const aiNode& node, Moment moment) const {
    const auto channel = moment ? channels_.find(node.mName.C_Str()) : channels_.end();
    if (channel == channels_.end()) return Matrix(node.mTransformation);
    aiVector3D scale, place;
    aiQuaternion rotation;
    node.mTransformation.Decompose(scale, rotation, place);
    const aiNodeAnim& keys = *channel->second;
    const double tick = *moment * ticksPerSecond_;
    scale = vectorAt(keys.mScalingKeys, keys.mNumScalingKeys, tick, scale);
    rotation = rotationAt(keys.mRotationKeys, keys.mNumRotationKeys, tick, rotation);
    place = vectorAt(keys.mPositionKeys, keys.mNumPositionKeys, tick, place);
    return Matrix(aiMatrix4x4(scale, rotation, place));
}

Matrix NodePoses::global(const aiNode& node, Moment moment) const {
    Matrix matrix = local(node, moment);
    for (const aiNode* above = node.mParent; above; above = above->mParent)
        matrix = local(*above, moment) * matrix;
    return matrix;
}

bool NodePoses::moves(const aiNode& node) const {
    return channels_.contains(node.mName.C_Str());
}

bool NodePoses::isCarried(const aiNode& node) const {
    return moves(node) || (node.mParent && isCarried(*node.mParent));
}

const aiNode* NodePoses::node(const aiString& name) const {
    return scene_.mRootNode->FindNode(name);
}

double ticksPerSecond(const aiAnimation& animation) {
    constexpr double usualTicks = 25; // what readers mean that say nothing
    return animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : usualTicks;
}

MeshPose restPose(const aiMesh& mesh) {
    MeshPose rest;
    rest.positions.assign(mesh.mVertices, mesh.mVertices + mesh.mNumVertices);
    if (mesh.HasNormals()) rest.normals.assign(mesh.mNormals, mesh.mNormals + mesh.mNumVertices);
    return rest;
}

MeshPose bent(const aiMesh& mesh, const MeshPose& rest, const NodePoses& poses, Moment moment) {
    const unsigned count = mesh.mNumVertices;
    const bool hasNormals = !rest.normals.empty();
    MeshPose result;
    result.positions.resize(count);
    if (hasNormals) result.normals.resize(count);
    std::vector<float> weights(count, 0.0f);
    for (unsigned b = 0; b < mesh.mNumBones; ++b) {
        const aiBone& bone = *mesh.mBones[b];
        const aiNode* const node = poses.node(bone.mName);
        if (!node) continue;
        const aiMatrix4x4 matrix(poses.global(*node, moment) * Matrix(bone.mOffsetMatrix));
        const aiMatrix3x3 turn(matrix);
        for (unsigned i = 0; i < bone.mNumWeights; ++i) {
            const auto [vertex, weight] = bone.mWeights[i];
            if (vertex >= count) continue;
            weights[vertex] += weight;
            result.positions[vertex] += matrix * rest.positions[vertex] * weight;
            if (hasNormals) result.normals[vertex] += turn * rest.normals[vertex] * weight;
        }
    }
    for (unsigned vertex = 0; vertex < count; ++vertex) {
        if (weights[vertex] > 0) {
            result.positions[vertex] /= weights[vertex];
            if (hasNormals) result.normals[vertex].NormalizeSafe();
        } else { // of no bone
            result.positions[vertex] = rest.positions[vertex];
            if (hasNormals) result.normals[vertex] = rest.normals[vertex];
        }
    }
    return result;
}

} // namespace orca::bridge

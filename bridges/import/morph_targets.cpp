// SPDX-License-Identifier: Apache-2.0
#include "morph_targets.h"

#include "placement.h"

#include <algorithm>
#include <string>

namespace orca::bridge {

namespace {

/// A key's weight of a target; 0 where it does not name it.
double weightOf(const aiMeshMorphKey& key, unsigned target) {
    for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i)
        if (key.mValues[i] == target) return key.mWeights[i];
    return 0;
}

bool concerns(const aiMeshMorphKey& key, unsigned target) {
    return std::find(key.mValues, key.mValues + key.mNumValuesAndWeights, target) !=
           key.mValues + key.mNumValuesAndWeights;
}

/// Linear between the keys; before the first and after the last the nearest one's.
double weightAt(const aiMeshMorphAnim& channel, unsigned target, double tick) {
    const aiMeshMorphKey *const first = channel.mKeys, *const end = first + channel.mNumKeys;
    const aiMeshMorphKey* const after = std::upper_bound(
        first, end, tick, [](double time, const aiMeshMorphKey& key) { return time < key.mTime; });
    if (after == first) return weightOf(*first, target);
    if (after == end) return weightOf(end[-1], target);
    const aiMeshMorphKey &from = after[-1], &to = *after;
    const double share = (tick - from.mTime) / (to.mTime - from.mTime);
    return (1 - share) * weightOf(from, target) + share * weightOf(to, target);
}

} // namespace

MorphTargets::MorphTargets(const aiScene& scene, const aiAnimation* animation) : scene_(scene) {
    if (!animation) return;
    ticksPerSecond_ = ticksPerSecond(*animation);
    for (const PlacedMesh& placed : placedMeshes(scene)) {
        if (!has(placed.mesh)) continue;
        // Channels are called after the node or the mesh; one for each target has its number behind a star.
        const std::string node = placed.node->mName.C_Str(), mesh = scene.mMeshes[placed.mesh]->mName.C_Str();
        for (unsigned i = 0; i < animation->mNumMorphMeshChannels; ++i) {
            const aiMeshMorphAnim& channel = *animation->mMorphMeshChannels[i];
            const std::string full = channel.mName.C_Str(), name = full.substr(0, full.find('*'));
            if (channel.mNumKeys == 0 || (name != node && name != mesh)) continue;
            std::vector<const aiMeshMorphAnim*>& own = channels_[placed.mesh];
            if (std::find(own.begin(), own.end(), &channel) == own.end()) own.push_back(&channel);
        }
    }
}

bool MorphTargets::has(unsigned mesh) const {
    return scene_.mMeshes[mesh]->mNumAnimMeshes > 0;
}

std::vector<float> MorphTargets::weights(unsigned mesh, Moment moment) const {
    const aiMesh& base = *scene_.mMeshes[mesh];
    const auto channels = moment ? channels_.find(mesh) : channels_.end();
    std::vector<float> result(base.mNumAnimMeshes);
    for (unsigned target = 0; target < base.mNumAnimMeshes; ++target) {
        result[target] = base.mAnimMeshes[target]->mWeight;
        if (channels == channels_.end()) continue;
        for (const aiMeshMorphAnim* channel : channels->second)
            if (concerns(channel->mKeys[0], target))
                result[target] = static_cast<float>(weightAt(*channel, target, *moment * ticksPerSecond_));
    }
    return result;
}

MeshPose MorphTargets::at(unsigned mesh, Moment moment) const {
    const aiMesh& base = *scene_.mMeshes[mesh];
    MeshPose points = restPose(base);
    if (!has(mesh)) return points;
    const std::vector<float> weights = this->weights(mesh, moment);
    for (unsigned i = 0; i < base.mNumAnimMeshes; ++i) {
        const aiAnimMesh& target = *base.mAnimMeshes[i];
        if (weights[i] == 0 || target.mNumVertices != base.mNumVertices) continue;
        for (unsigned v = 0; v < base.mNumVertices; ++v) {
            if (target.mVertices)
                points.positions[v] += (target.mVertices[v] - base.mVertices[v]) * weights[i];
            if (target.mNormals && base.HasNormals())
                points.normals[v] += (target.mNormals[v] - base.mNormals[v]) * weights[i];
        }
    }
    for (aiVector3D& normal : points.normals) normal.NormalizeSafe();
    return points;
}

} // namespace orca::bridge

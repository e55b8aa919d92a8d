// SPDX-License-Identifier: Apache-2.0
#include "render/light/light_chooser.h"

#include "base/vectors.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

using shading::LightChoice;

constexpr int whole = -1;

/// An array of a shader's call.
template <class T>
T* allocated(RenderContext& context, std::size_t count) {
    return static_cast<T*>(context.arena.allocate(std::max<std::size_t>(1, count) * sizeof(T)));
}

const LightChoice* madeCurrent(RenderContext& context, const LightChoice& choice) {
    auto* const kept = allocated<LightChoice>(context, 1);
    *kept = choice;
    return context.lightChoice = kept;
}

/// Probabilities in proportion to the importances, none above 1, with the sum `wanted`.
/// @param importances above 0; become the probabilities
void shareOut(std::span<double> importances, int wanted) {
    double rest = wanted, sum = 0.0; // of those that are below 1
    for (const double importance : importances) sum += importance;
    std::vector<double*> below;
    for (double& importance : importances) below.push_back(&importance);
    for (bool found = true; found;) {
        found = false;
        double certain = 0.0, theirs = 0.0;
        std::erase_if(below, [&](double* importance) {
            if (*importance * rest < sum) return false;
            theirs += *importance;
            certain += 1.0;
            *importance = 1.0;
            return found = true;
        });
        rest -= certain;
        sum -= theirs;
    }
    for (double* const importance : below) *importance *= rest / sum;
}

} // namespace

LightChooser::LightChooser(const geometry::SceneGeometry& geometry, const LightInstances& lights,
                           std::vector<LightCluster> clusters, float farthest, int wanted)
    : lights_(lights), clusters_(std::move(clusters)), farthest_(farthest), wanted_(wanted) {
    const auto add = [&](std::uint32_t number, std::span<const miTag> all) {
        if (lists_.size() <= number) lists_.resize(number + 1);
        List& list = lists_[number];
        if (list.tree || all.size() <= static_cast<std::size_t>(wanted)) return;
        list.lights.assign(all.begin(), all.end());
        std::vector<LightCluster> own;
        for (const miTag light : all) own.push_back(clusterOf(light));
        list.tree = std::make_unique<LightTree>(own, farthest);
    };
    add(0, geometry.lights());
    for (const geometry::MeshInstance& instance : geometry.meshInstances())
        add(instance.lightList, geometry.lightsOf(instance));
}

const LightCluster& LightChooser::clusterOf(miTag light) const {
    return clusters_[static_cast<std::size_t>(lights_.of(light) - lights_.all().data())];
}

/// Volume shaders sample lights all along a ray, and nobody knows where.
LightReceiver LightChooser::receiverAt(const RenderContext& context, const miState& state) const {
    LightReceiver receiver{state.point, state.normal, {}, 0.0f};
    if (context.callType == miSHADER_VOLUME) {
        receiver.length = state.dist > 0.0 ? static_cast<float>(state.dist) : farthest_;
        receiver.point = state.org + receiver.length * state.dir;
        receiver.towardStart = -1.0f * state.dir;
    }
    // What is met from its back is illuminated on both sides.
    if (context.callType == miSHADER_VOLUME || state.inv_normal) receiver.normal = {};
    return receiver;
}

const LightChoice* LightChooser::ofList(RenderContext& context, const miState& state,
                                        std::uint32_t number) const {
    if (wantsWholeLists(context)) return nullptr;
    const List& list = lists_[number];
    if (!list.tree) return context.lightChoice = nullptr;
    const LightChoice* const last = currentChoice(context);
    if (last && last->from == list.tree.get() && isNull(last->point - state.point)) return last;
    auto* const chosen = allocated<ChosenLight>(context, static_cast<std::size_t>(wanted_) + 1);
    const int count =
        list.tree->choose(receiverAt(context, state), wanted_, context.sampler.nextRandom(), chosen);
    auto* const tags = allocated<miTag>(context, static_cast<std::size_t>(count));
    auto* const weights = allocated<miScalar>(context, static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        tags[i] = list.lights[chosen[i].light];
        weights[i] = chosen[i].weight;
    }
    return madeCurrent(context, {list.tree.get(), context.depth, state.point, count, tags, weights});
}

const LightChoice* LightChooser::ofListed(RenderContext& context, const miState& state,
                                          std::span<const miTag> listed) const {
    if (wantsWholeLists(context)) return nullptr;
    if (listed.size() <= static_cast<std::size_t>(wanted_)) return context.lightChoice = nullptr;
    const LightReceiver receiver = receiverAt(context, state);
    std::vector<double> shares;
    for (const miTag light : listed)
        shares.push_back(
            static_cast<double>(std::clamp(clusterOf(light).importance(receiver, farthest_), 1e-30f, 1e30f)));
    shareOut(shares, wanted_);
    auto* const tags = allocated<miTag>(context, static_cast<std::size_t>(wanted_));
    auto* const weights = allocated<miScalar>(context, static_cast<std::size_t>(wanted_));
    int count = 0;
    double point = static_cast<double>(context.sampler.nextRandom()), end = 0.0; // as in LightTree
    for (std::size_t i = 0; i < listed.size() && count < wanted_; ++i) {
        end += shares[i];
        if (point >= end) continue;
        point += 1.0;
        tags[count] = listed[i];
        weights[count++] = static_cast<float>(1.0 / shares[i]);
    }
    return madeCurrent(context, {nullptr, context.depth, state.point, count, tags, weights});
}

const LightChoice* currentChoice(const RenderContext& context) {
    const LightChoice* const choice = context.lightChoice;
    return choice && choice->nesting == context.depth && choice->count != whole ? choice : nullptr;
}

float lightWeight(const RenderContext& context, miTag light) {
    const LightChoice* const choice = currentChoice(context);
    if (!choice) return 1.0f;
    const std::span<const miTag> lights(choice->lights, static_cast<std::size_t>(choice->count));
    const auto found = std::find(lights.begin(), lights.end(), light);
    return found == lights.end() ? 1.0f : choice->weights[found - lights.begin()];
}

void wantWholeLists(RenderContext& context) {
    madeCurrent(context, {nullptr, context.depth, {}, whole, nullptr, nullptr});
}

bool wantsWholeLists(const RenderContext& context) {
    const LightChoice* const choice = context.lightChoice;
    return choice && choice->nesting == context.depth && choice->count == whole;
}

} // namespace orca::render

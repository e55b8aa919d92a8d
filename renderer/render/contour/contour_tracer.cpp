// SPDX-License-Identifier: Apache-2.0
#include "render/contour/contour_tracer.h"

#include "render/camera/eye_sample.h"
#include "shading/contour_call.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>

namespace orca::render {

namespace {

bool seesSurfaces(const miState& state) {
    return state.type == miRAY_EYE || state.type == miRAY_TRANSPARENT || state.type == miRAY_REFLECT ||
           state.type == miRAY_REFRACT;
}

/// Of the rays from the camera to a hit: their kinds, their number before the last, and their length.
ContourHit pathOf(const miState& state) {
    ContourHit hit{static_cast<std::uint64_t>(state.type) + 1, 0, static_cast<float>(state.dist),
                   state.material, 0};
    for (const miState* before = state.parent; before; before = before->parent) {
        if (before->instance == miNULLTAG || !seesSurfaces(*before)) continue;
        hit.path = hit.path * 7 + static_cast<std::uint64_t>(before->type) + 1;
        hit.distance += static_cast<float>(before->dist);
        ++hit.level;
    }
    return hit;
}

constexpr int halvings = 5; // a line is found to 1/32 of the distance of two samples

} // namespace

ContourTracer::ContourTracer(RenderContext& context) : context_(context) {
    context.hitObserver = this;
}

ContourTracer::~ContourTracer() {
    context_.hitObserver = nullptr;
}

void ContourTracer::trace(float x, float y, ContourSample& sample) {
    sample.x = x;
    sample.y = y;
    sample.hits.clear();
    sample.infos.clear();
    sample_ = &sample;
    context_.sampler.startCentred(context_.frame.seed);
    const int column = static_cast<int>(x), row = static_cast<int>(y);
    renderEyeSample(context_, column, row,
                    {x - static_cast<float>(column) - 0.5f, y - static_cast<float>(row) - 0.5f, 1.0f},
                    noImagePhase);
    sample_ = nullptr;
    // Rays that follow from a hit come before it.
    std::stable_sort(sample.hits.begin(), sample.hits.end(),
                     [](const ContourHit& a, const ContourHit& b) { return a.level < b.level; });
}

void ContourTracer::shaded(miState* state, miColor& result) {
    if (!sample_ || context_.gatherDepth > 0 || !seesSurfaces(*state)) return;
    ContourHit hit = pathOf(*state);
    if (sample_->find(hit.path)) return; // of several rays of a kind, as for blurred reflections, the first
    std::vector<std::max_align_t>& infos = sample_->infos;
    hit.info = infos.size() * sizeof(std::max_align_t);
    infos.resize(infos.size() + miCONTOUR_INFO_SIZE / sizeof(std::max_align_t));
    int size = miCONTOUR_INFO_SIZE;
    const miTag shader = context_.frame.options.contour_store;
    const bool stored =
        context_.runtime.callContour(shading::ContourCall::store(sample_->infoOf(&hit), &size, &result),
                                     state, shader) &&
        size >= 0;
    if (stored && size > miCONTOUR_INFO_SIZE)
        context_.frame.log.once("render: contour info",
                                {LogLevel::Error,
                                 "RNDR",
                                 0,
                                 "a contour store shader keeps " + std::to_string(size) +
                                     " bytes of a hit, more than the " + std::to_string(miCONTOUR_INFO_SIZE) +
                                     " that there are",
                                 {}});
    const std::size_t used = stored ? static_cast<std::size_t>(std::min(size, miCONTOUR_INFO_SIZE)) : 0;
    infos.resize(hit.info / sizeof(std::max_align_t) +
                 (used + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t));
    if (stored) sample_->hits.push_back(hit);

    if (!line_ || line_->path != hit.path || line_->delivered) return;
    miContour_endpoint& endpoint = line_->endpoint;
    endpoint.point.z = hit.distance;
    endpoint.color = {0.0f, 0.0f, 0.0f, 1.0f};
    endpoint.width = 0.0f;
    endpoint.motion = state->motion;
    endpoint.normal = state->normal;
    line_->delivered =
        context_.runtime.callContour(shading::ContourCall::line(&endpoint, line_->near, line_->far), state,
                                     line_->shaders) != miFALSE;
}

bool ContourTracer::differ(void* a, void* b, int level) {
    if (!a && !b) return false;
    miBoolean differs = miFALSE;
    withoutShaderExceptions(context_, [&] {
        differs = context_.runtime.callContour(shading::ContourCall::contrast(a, b, level), &context_.base,
                                               context_.frame.options.contour_contrast);
    });
    return differs != miFALSE;
}

std::optional<ContourPair> ContourTracer::contrast(ContourSample& a, ContourSample& b) {
    // Both lists are by level: hits that have no counterpart take their turn between those that have one.
    auto unmatched = b.hits.begin();
    const auto ofSecondAlone = [&](int below) -> std::optional<ContourPair> {
        for (; unmatched != b.hits.end() && unmatched->level < below; ++unmatched)
            if (!a.find(unmatched->path) && differ(nullptr, b.infoOf(&*unmatched), unmatched->level))
                return ContourPair{nullptr, &*unmatched, unmatched->level};
        return std::nullopt;
    };
    for (const ContourHit& first : a.hits) {
        if (const auto found = ofSecondAlone(first.level)) return found;
        const ContourHit* const second = b.find(first.path);
        if (differ(a.infoOf(&first), b.infoOf(second), first.level))
            return ContourPair{&first, second, first.level};
    }
    return ofSecondAlone(std::numeric_limits<int>::max());
}

miTag ContourTracer::shadersOf(const ContourHit& hit) const {
    const miMaterial* const material = context_.frame.materialOf(hit.material);
    return material ? material->contour : miNULLTAG;
}

/// Where surfaces meet both are as near: a rule that does not depend on rounding keeps a line's look the same
/// all along it.
bool ContourTracer::isNearer(const ContourHit* a, const ContourHit* b) const {
    if (!a || !b) return a != nullptr;
    constexpr float equal = 1e-3f; // of the distance
    if (std::abs(a->distance - b->distance) > equal * std::max(a->distance, b->distance))
        return a->distance < b->distance;
    const bool aHas = shadersOf(*a) != miNULLTAG, bHas = shadersOf(*b) != miNULLTAG;
    if (aHas != bHas) return aHas;
    if (a->material != b->material) return a->material < b->material;
    return a->distance <= b->distance;
}

std::optional<miContour_endpoint> ContourTracer::crossing(const ContourSample& a, const ContourSample& b) {
    ContourSample *low = &own_[0], *high = &own_[1], *middle = &own_[2];
    *low = a;
    *high = b;
    for (int i = 0; i < halvings; ++i) {
        trace(0.5f * (low->x + high->x), 0.5f * (low->y + high->y), *middle);
        const auto first = contrast(*low, *middle), second = contrast(*middle, *high);
        if (!first && !second) break; // the change is gradual: the middle is as good as any place
        const bool isFirst = first && (!second || first->level <= second->level);
        std::swap(middle, isFirst ? high : low);
    }
    const auto pair = contrast(*low, *high);
    if (!pair) return std::nullopt;
    const bool isLow = isNearer(pair->first, pair->second);
    const ContourHit* const near = isLow ? pair->first : pair->second;
    const ContourHit* const far = isLow ? pair->second : pair->first;
    ContourSample &nearSample = isLow ? *low : *high, &farSample = isLow ? *high : *low;
    LineCall call{near->path, shadersOf(*near), nearSample.infoOf(near), farSample.infoOf(far), {}};
    if (call.shaders == miNULLTAG) return std::nullopt;
    call.endpoint.point = {0.5f * (low->x + high->x), 0.5f * (low->y + high->y), near->distance};
    // Contour shaders want the state of the hit, which is gone: it is traced once more.
    line_ = &call;
    trace(nearSample.x, nearSample.y, own_[3]);
    line_ = nullptr;
    if (!call.delivered || !std::isfinite(call.endpoint.width)) return std::nullopt;
    call.endpoint.width = std::clamp(call.endpoint.width, 0.0f, miCONTOUR_MAX_WIDTH);
    return call.endpoint;
}

} // namespace orca::render

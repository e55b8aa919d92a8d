// SPDX-License-Identifier: Apache-2.0
#include "render/context/shaded_layers.h"

namespace orca::render {

namespace {

/// Cosine of 15 degrees: surfaces that turn further within a pixel, such as the faces of a box, are shaded
/// apart.
constexpr float leastCosine = 0.966f;

} // namespace

bool RayEnd::looksLike(const RayEnd& other) const {
    return meshInstance == other.meshInstance && material == other.material && isBack == other.isBack &&
           mi_vector_dot(&normal, &other.normal) >= leastCosine;
}

void ShadedLayers::begin(std::uint32_t sample) {
    count_ = 0;
    sample_ = sample;
}

ShadedLayers::Place ShadedLayers::find(Place front, const RayEnd& end) const {
    for (Place place = 0; place < count_; ++place)
        if (layers_[place].front == front && layers_[place].end.looksLike(end)) return place;
    return none;
}

ShadedLayers::Layer& ShadedLayers::add(Place front, const RayEnd& end) {
    if (count_ == layers_.size()) layers_.emplace_back();
    Entry& entry = layers_[count_++];
    entry.front = front;
    entry.end = end;
    return entry.layer;
}

void ShadedLayers::beginLook() {
    looking_ = true;
    rays_ = 0;
}

void ShadedLayers::note(const miState& state) {
    noted_ = {state.hit_instance, state.material, state.inv_normal != miFALSE, state.normal};
    ++rays_;
}

std::optional<RayEnd> ShadedLayers::endLook() {
    looking_ = false;
    return rays_ == 1 && noted_.meshInstance != geometry::nothing ? std::optional(noted_) : std::nullopt;
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/trace/media.h"

#include <algorithm>

namespace orca::render {

namespace {

miTag volumeOf(const RenderContext& context, const miState& state) {
    const miMaterial* const material = context.frame.materialOf(state.material);
    return material ? material->volume : miNULLTAG;
}

/// The body that was entered last of those with the volume; below 0: none was.
std::ptrdiff_t placeOf(const std::vector<miTag>& media, miTag volume) {
    return media.rend() - std::find(media.rbegin(), media.rend(), volume) - 1;
}

} // namespace

miTag volumeBeyond(const RenderContext& context, const miState& state) {
    const miTag volume = volumeOf(context, state);
    if (volume == miNULLTAG) return state.volume;
    if (!state.inv_normal) return volume;
    const std::vector<miTag>& media = context.media;
    const std::ptrdiff_t place = placeOf(media, volume);
    if (place < 0) return state.volume == volume ? miNULLTAG : state.volume;
    if (place + 1 < std::ssize(media)) return media.back();
    return place > 0 ? media[static_cast<std::size_t>(place) - 1] : context.frame.camera.volume;
}

CrossedSurface::CrossedSurface(RenderContext& context, const miState& state) : media_(context.media) {
    volume_ = volumeOf(context, state);
    if (volume_ == miNULLTAG) return;
    if (!state.inv_normal) {
        media_.push_back(volume_);
        change_ = Change::Entered;
        return;
    }
    place_ = placeOf(media_, volume_);
    if (place_ < 0) return;
    media_.erase(media_.begin() + place_);
    change_ = Change::Left;
}

CrossedSurface::~CrossedSurface() {
    if (change_ == Change::Entered) media_.pop_back();
    if (change_ == Change::Left) media_.insert(media_.begin() + place_, volume_);
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "render/context/seen_surfaces.h"

#include <algorithm>

namespace orca::render {

namespace {

/// Alpha behind a surface up to which its own opacity follows well from the alphas.
constexpr float muchIsBehind = 0.5f, allIsBehind = 1.0f - 1e-3f;

float luminance(const miColor& c) {
    return 0.30f * c.r + 0.59f * c.g + 0.11f * c.b;
}

/// Of a surface by itself, from the alpha of its result and the alpha behind it.
float opacityFrom(float alpha, float behind) {
    return std::clamp((alpha - behind) / (1.0f - behind), 0.0f, 1.0f);
}

} // namespace

void SeenSurfaces::begin() {
    surfaces_.clear();
    open_.assign(1, {});
    layer_ = 0;
}

bool SeenSurfaces::follows(const miState& state) const {
    if (open_.size() == 1) return state.type == miRAY_EYE;
    return !open_.empty() && state.parent == open_.back().state &&
           (state.type == miRAY_EYE || state.type == miRAY_TRANSPARENT);
}

void SeenSurfaces::open(const miState& state) {
    open_.push_back({&state, surfaces_.size(), surfaces_.size(), 0, {}, false, {1.0f, 1.0f, 1.0f, 1.0f}});
}

void SeenSurfaces::close(SeenSurface surface, const miColor& result) {
    const Open hit = open_.back();
    open_.pop_back();
    // Of several rays, as of a blurred transparency, what is behind is their mean.
    const float share = hit.rays > 0 ? 1.0f / static_cast<float>(hit.rays) : 1.0f;
    const miColor behind{hit.behind.r * share, hit.behind.g * share, hit.behind.b * share,
                         std::clamp(hit.behind.a * share, 0.0f, 1.0f)};
    const bool isUnseen = hit.rays > 0 && result.r == behind.r && result.g == behind.g &&
                          result.b == behind.b && result.a == behind.a;
    float opacity = 1.0f;
    if (isUnseen) opacity = 0.0f;
    else if (behind.a < muchIsBehind) opacity = opacityFrom(result.a, behind.a);
    else if (hit.isOpacitySet) opacity = std::clamp(luminance(hit.opacity), 0.0f, 1.0f);
    else if (behind.a < allIsBehind) opacity = opacityFrom(result.a, behind.a);

    const float through = (1.0f - opacity) * share;
    miColor transmission{through, through, through, through};
    if (hit.isOpacitySet && !isUnseen)
        transmission = {(1.0f - hit.opacity.r) * share, (1.0f - hit.opacity.g) * share,
                        (1.0f - hit.opacity.b) * share, through};
    scale(hit.first, transmission);
    surface.weight = opacity;
    surface.color = result;
    for (std::size_t i = hit.first; i < surfaces_.size(); ++i) {
        surface.color.r -= surfaces_[i].color.r;
        surface.color.g -= surfaces_[i].color.g;
        surface.color.b -= surfaces_[i].color.b;
    }
    if (!isUnseen) surfaces_.push_back(surface);
}

void SeenSurfaces::returnRay(const miColor& result, bool delivered) {
    Open& before = open_.back();
    if (!delivered) surfaces_.resize(before.lastRay);
    before.lastRay = surfaces_.size();
    ++before.rays;
    before.behind.r += result.r;
    before.behind.g += result.g;
    before.behind.b += result.b;
    before.behind.a += result.a;
}

void SeenSurfaces::setOpacity(const miState& state, const miColor& opacity) {
    if (open_.size() < 2 || open_.back().state != &state) return;
    open_.back().isOpacitySet = true;
    open_.back().opacity = opacity;
}

const miColor* SeenSurfaces::opacityOf(const miState& state) const {
    return open_.size() > 1 && open_.back().state == &state ? &open_.back().opacity : nullptr;
}

void SeenSurfaces::scale(std::size_t first, const miColor& transmission) {
    for (std::size_t i = first; i < surfaces_.size(); ++i) {
        SeenSurface& surface = surfaces_[i];
        surface.weight *= transmission.a;
        surface.color.r *= transmission.r;
        surface.color.g *= transmission.g;
        surface.color.b *= transmission.b;
    }
}

void SeenSurfaces::endLayer(const miColor& transmitted) {
    scale(layer_, transmitted);
    layer_ = surfaces_.size();
    open_.front().rays = 1;
}

void SeenSurfaces::takeLayers(std::span<const SeenSurface> surfaces) {
    surfaces_.assign(surfaces.begin(), surfaces.end());
    layer_ = open_.front().lastRay = surfaces_.size();
    open_.front().rays = 1;
}

void SeenSurfaces::end(const miColor& color) {
    // A lens shader may mix several eye rays.
    if (const int rays = open_.front().rays; rays > 1) {
        const float share = 1.0f / static_cast<float>(rays);
        scale(0, {share, share, share, share});
    }
    if (surfaces_.empty()) return;
    miColor rest = color;
    SeenSurface* nearest = surfaces_.data();
    for (SeenSurface& surface : surfaces_) {
        rest = {rest.r - surface.color.r, rest.g - surface.color.g, rest.b - surface.color.b, 0.0f};
        if (surface.depth < nearest->depth) nearest = &surface;
    }
    nearest->color = {nearest->color.r + rest.r, nearest->color.g + rest.g, nearest->color.b + rest.b, 0.0f};
}

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#include "velaFacetLobe.h"

#include "orcaColor.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

namespace {

constexpr float pi = std::numbers::pi_v<float>;
constexpr float sharpBelow = 0.03f; // roughness; narrower lobes are as narrow as a pixel

} // namespace

miVector LayerFrame::toLocal(const miVector& v) const noexcept {
    return {dot(v, x), dot(v, y), dot(v, z)};
}

miVector LayerFrame::fromLocal(const miVector& v) const noexcept {
    return x * v.x + y * v.y + z * v.z;
}

Roughness::Roughness(float roughness, float anisotropy) noexcept {
    const float r = std::clamp(roughness, 0.0f, 1.0f);
    isSharp = r < sharpBelow;
    const float alpha = std::max(r, sharpBelow) * std::max(r, sharpBelow);
    const float aspect = std::sqrt(1.0f - 0.9f * std::clamp(anisotropy, 0.0f, 1.0f));
    facets = {std::min(1.0f, alpha / aspect), alpha * aspect};
    const float x = facets.alphaX, y = facets.alphaY;
    mean = isSharp ? 0.0f : std::sqrt(std::sqrt(0.5f * (x * x + y * y)));
    constexpr float largestError = 0.06f; // of the table of even surfaces, at an anisotropy of 1
    margin = largestError * std::clamp(anisotropy, 0.0f, 1.0f);
}

miColor Reflectance::at(float cosine) const noexcept {
    return normal + (grazing - normal) * grazingShare(cosine);
}

miColor Reflectance::mean() const noexcept {
    return normal + (grazing - normal) * (1.0f / 21.0f);
}

FacetLobe::FacetLobe(const miVector& view, const Roughness& roughness, const Reflectance& reflectance)
    : view_(view),
      roughness_(roughness),
      reflectance_(reflectance),
      mean_(meanFacetAlbedo(roughness.mean)),
      multiple_(BLACK) {
    const float reflected = mean_.whole();
    if (!sharp() && reflected < 0.9999f) {
        const miColor once = reflectance.mean();
        const auto again = [&](float f) { return f * f * reflected / (1.0f - f * (1.0f - reflected)); };
        multiple_ = {again(once.r), again(once.g), again(once.b), 0.0f};
    }
    const FacetAlbedo once = facetAlbedo(roughness.mean, view.z);
    escapedOfView_ = escaped(once);
    albedo_ = sharp() ? withAlpha(reflectance.at(view.z), 0.0f) : albedoOf(once);
    const float all = luminance(albedo_);
    evenShare_ = all > 0.0f ? std::clamp(luminance(multiple_) * escapedOfView_ / all, 0.0f, 0.9f) : 0.0f;
}

miColor FacetLobe::share(const miVector& light) const noexcept {
    if (!(light.z > 0.0f) || !(view_.z > 0.0f)) return BLACK;
    const miVector half = normalized(view_ + light);
    const Microfacets& facets = roughness_.facets;
    const float single = pi * facets.density(half) * facets.visible(view_, light) / (4.0f * view_.z);
    miColor share = reflectance_.at(dot(view_, half)) * single;
    const float escapedOfAll = 1.0f - mean_.whole();
    if (escapedOfAll > 1e-4f) {
        const float escapedOfLight = escaped(facetAlbedo(roughness_.mean, light.z));
        share += multiple_ * (escapedOfView_ * escapedOfLight * light.z / escapedOfAll);
    }
    return withAlpha(share, 0.0f);
}

miVector FacetLobe::direction(float u1, float u2, float u3) const noexcept {
    if (sharp()) return {-view_.x, -view_.y, view_.z};
    if (u3 < evenShare_) {
        const float radius = std::sqrt(u1), angle = 2.0f * pi * u2;
        return {radius * std::cos(angle), radius * std::sin(angle), std::sqrt(std::max(0.0f, 1.0f - u1))};
    }
    const miVector normal = roughness_.facets.visibleNormal(view_, u1, u2);
    return mirrored(-view_, normal);
}

float FacetLobe::density(const miVector& light) const noexcept {
    if (!(light.z > 0.0f)) return 0.0f;
    const miVector half = normalized(view_ + light);
    const float facing = dot(view_, half);
    const float mirroredDensity =
        facing > 0.0f ? roughness_.facets.visibleDensity(view_, half) / (4.0f * facing) : 0.0f;
    return (1.0f - evenShare_) * mirroredDensity + evenShare_ * light.z / pi;
}

float FacetLobe::escaped(const FacetAlbedo& once) const noexcept {
    return std::max(0.0f, 1.0f - once.whole() - roughness_.margin);
}

miColor FacetLobe::albedoOf(const FacetAlbedo& once) const noexcept {
    return withAlpha(reflectance_.normal * once.normal + reflectance_.grazing * once.grazing +
                         multiple_ * escaped(once),
                     0.0f);
}

miColor FacetLobe::albedoAt(float cosine) const noexcept {
    return sharp() ? withAlpha(reflectance_.at(cosine), 0.0f)
                   : albedoOf(facetAlbedo(roughness_.mean, cosine));
}

miColor FacetLobe::meanAlbedo() const noexcept {
    return sharp() ? withAlpha(reflectance_.mean(), 0.0f) : albedoOf(mean_);
}

} // namespace vela

// SPDX-License-Identifier: Apache-2.0
#include "orcaHair.h"

#include "orcaColorSpace.h"
#include "orcaGathering.h"
#include "orcaParameters.h"
#include "orcaSpecular.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <limits>
#include <numbers>

namespace {

using P = HairParameters;

constexpr miScalar radians = std::numbers::pi_v<miScalar> / 180.0f;

/// Numbers of the random values of a hair.
enum : miUint { RANDOM_HUE = 0, RANDOM_SATURATION = 1, RANDOM_VALUE = 2 };

/// 1 plus or less than 1 by up to `variation`, the same all along a hair.
miScalar varied(miState* state, P* record, miScalar variation, miUint which) {
    const auto seed = static_cast<miUint>(parameterValue(state, record, &P::seed)) * 3u + which;
    return 1.0f + variation * (2.0f * hashedNumber(state->pri_idx, seed) - 1.0f);
}

/// Covered share of the hair at a place: what the opacity ramp and its thickness leave.
miScalar coverage(miState* state, P* record, miScalar position) {
    miScalar share = 1.0f;
    if (*mi_eval_integer(&record->n_opacityRamp) > 0) {
        Ramp ramp;
        ramp_constructor(&ramp, state, &record->i_opacityRamp, 0);
        share = std::clamp(ramp_get_interp_float(position, &ramp), 0.0f, 1.0f);
        ramp_destructor(&ramp);
    }
    const miScalar tip = std::clamp(parameterValue(state, record, &P::tipThickness), 0.0f, 1.0f);
    return share * (1.0f + (tip - 1.0f) * position);
}

} // namespace

Hair::Hair(miState* state, HairParameters* record)
    : frame_(fibreFrame(state)),
      toViewer_(-state->dir),
      color_(variedColor(state, record)),
      transparency_(withAlpha(WHITE - (WHITE - parameterValue(state, record, &P::transparency)) *
                                          coverage(state, record, frame_.position),
                              0.0f)) {
    if (parameterValue(state, record, &P::model) == HAIR_PHYSICAL) preparePhysical(state, record);
    else prepareClassic(state, record);
}

miColor Hair::shadowTransmission(miState* state, HairParameters* record) {
    const miScalar position = std::clamp(state->bary[1], 0.0f, 1.0f);
    const miScalar density = std::clamp(parameterValue(state, record, &P::shadowDensity), 0.0f, 1.0f);
    const miColor opacity = WHITE - parameterValue(state, record, &P::transparency);
    return withAlpha(WHITE - opacity * (density * coverage(state, record, position)), 0.0f);
}

miColor Hair::variedColor(miState* state, HairParameters* record) const {
    miColor color = parameterValue(state, record, &P::color);
    if (*mi_eval_integer(&record->n_colorRamp) > 0) {
        Ramp ramp;
        miColor along = WHITE;
        ramp_constructor(&ramp, state, &record->i_colorRamp, 1);
        ramp_get_interp_color(frame_.position, &ramp, &along);
        ramp_destructor(&ramp);
        color *= along;
    }
    const miScalar hue = parameterValue(state, record, &P::hueVariation);
    const miScalar saturation = parameterValue(state, record, &P::saturationVariation);
    const miScalar value = parameterValue(state, record, &P::valueVariation);
    if (hue != 0.0f || saturation != 0.0f || value != 0.0f) {
        rgb_to_hsv(&color, &color);
        color.r += 0.5f * (varied(state, record, hue, RANDOM_HUE) - 1.0f);
        color.g = std::clamp(color.g * varied(state, record, saturation, RANDOM_SATURATION), 0.0f, 1.0f);
        color.b *= std::max(0.0f, varied(state, record, value, RANDOM_VALUE));
        hsv_to_rgb(&color, &color);
    }
    return withAlpha(color, 1.0f);
}

void Hair::prepareClassic(miState* state, HairParameters* record) {
    diffuse_ = parameterValue(state, record, &P::diffuse);
    translucence_ = parameterValue(state, record, &P::translucence);
    highlights_[0] = {parameterValue(state, record, &P::primaryColor),
                      std::max(0.0f, parameterValue(state, record, &P::primaryPower)),
                      -radians * parameterValue(state, record, &P::primaryShift)};
    highlights_[1] = {color_ * parameterValue(state, record, &P::secondaryColor),
                      std::max(0.0f, parameterValue(state, record, &P::secondaryPower)),
                      radians * parameterValue(state, record, &P::secondaryShift)};
}

void Hair::preparePhysical(miState* state, HairParameters* record) {
    HairOptics optics;
    optics.longitudinalRoughness = parameterValue(state, record, &P::longitudinalRoughness);
    optics.azimuthalRoughness = parameterValue(state, record, &P::azimuthalRoughness);
    optics.cuticleTilt = radians * parameterValue(state, record, &P::cuticleTilt);
    optics.refractiveIndex = parameterValue(state, record, &P::refractiveIndex);
    if (parameterValue(state, record, &P::pigment) == PIGMENT_MELANIN) {
        const miScalar variation = parameterValue(state, record, &P::valueVariation);
        const miScalar melanin =
            parameterValue(state, record, &P::melanin) * varied(state, record, variation, RANDOM_VALUE);
        optics.absorption =
            hairAbsorptionOfMelanin(melanin, parameterValue(state, record, &P::melaninRedness));
        color_ = withAlpha(hairColorOfAbsorption(optics.absorption, optics.azimuthalRoughness), 1.0f);
    } else {
        optics.absorption = hairAbsorptionOfColor(color_, optics.azimuthalRoughness);
    }
    scattering_.emplace(optics, frame_, toViewer_);
    tints_[HairScattering::REFLECTED] = parameterValue(state, record, &P::reflectedTint);
    tints_[HairScattering::TRANSMITTED] = parameterValue(state, record, &P::transmittedTint);
    tints_[HairScattering::INNER] = tints_[HairScattering::REST] =
        parameterValue(state, record, &P::innerTint);

    const miInteger rays = parameterValue(state, record, &P::scatterRays);
    surroundings_ = parameterValue(state, record, &P::scatterSurroundings) != 0;
    const int level = traceLevel(state);
    if (rays > 0 && level < parameterValue(state, record, &P::scatterLimit) && !isGathering(state))
        drawRays(state, level == 0 ? std::min<int>(rays, mostRays) : 1);
}

miColor Hair::attenuation(HairScattering::Lobe lobe) const {
    return scattering_->attenuation(lobe) * tints_[lobe];
}

/// Rays by the share of light in each lobe, each in a direction of its lobe's density, so that its weight is
/// the lobe's colour alone.
void Hair::drawRays(miState* state, int rays) {
    std::array<miScalar, HairScattering::lobes> shares;
    miScalar sum = 0.0f;
    for (int p = 0; p < HairScattering::lobes; ++p)
        sum += shares[p] = luminance(attenuation(static_cast<HairScattering::Lobe>(p)));
    if (!(sum > 0.0f)) return;
    double u[5];
    int instance = 0;
    const auto count = static_cast<miUint>(rays);
    while (mi_sample(u, &instance, state, 5, &count) && rayCount_ < mostRays) {
        miScalar left = static_cast<miScalar>(u[3]) * sum;
        int p = 0;
        while (p < HairScattering::lobes - 1 && (left >= shares[p] || shares[p] == 0.0f)) left -= shares[p++];
        if (shares[p] == 0.0f) continue; // rounding went past the last lobe
        const auto lobe = static_cast<HairScattering::Lobe>(p);
        const miColor weight = attenuation(lobe) * (sum / (shares[p] * static_cast<miScalar>(rays)));
        rays_[rayCount_++] = {lobe, scattering_->direction(lobe, u), withAlpha(opacity() * weight, 1.0f),
                              static_cast<miScalar>(u[4])};
    }
}

DiffuseShares Hair::scattered(const LightSample& sample) const {
    if (scattering_)
        return {BLACK, tints_[HairScattering::TRANSMITTED] *
                           scattering_->share(HairScattering::TRANSMITTED, sample.direction)};
    const miColor received = color_ * fibreCosine(frame_.along, sample.direction);
    DiffuseShares shares{received * diffuse_, BLACK};
    if (translucence_ != 0.0f)
        shares.through = received * (translucence_ * shareFromBehind(frame_, sample.direction));
    return shares;
}

miColor Hair::highlights(miState* state, const LightSample& sample) const {
    if (scattering_)
        return tints_[HairScattering::REFLECTED] *
                   scattering_->share(HairScattering::REFLECTED, sample.direction) +
               tints_[HairScattering::INNER] * (scattering_->share(HairScattering::INNER, sample.direction) +
                                                scattering_->share(HairScattering::REST, sample.direction));
    miColor sum = BLACK;
    for (const Highlight& highlight : highlights_) {
        if (!anyAbove(highlight.color, 0.0f)) continue;
        const miVector mirror = fibreMirror(frame_.along, -toViewer_, sample.direction, highlight.shift);
        sum += highlight.color *
               compute_phong_specular(&mirror, &sample.direction, state, highlight.power, sample.nDotL);
    }
    return sum;
}

miColor Hair::highlightColor() const {
    return scattering_ ? reflectedColor() : highlights_[0].color + highlights_[1].color;
}

miColor Hair::reflectedColor() const {
    if (!scattering_) return BLACK;
    return attenuation(HairScattering::REFLECTED) + attenuation(HairScattering::INNER) +
           attenuation(HairScattering::REST);
}

miColor Hair::traced(miState* state, const TraceContext& context, RayKind kind) const {
    miColor light = BLACK;
    if (rayCount_ == 0) return light;
    CountedLamps lamps; // all of them have been sampled as lights
    if (surroundings_) {
        int count = 0;
        miTag* lights = nullptr;
        if (mi_instance_lightlist(&count, &lights, state))
            for (int i = 0; i < count; ++i) lamps.add(lights[i]);
    }
    for (int i = 0; i < rayCount_; ++i) {
        const Ray& ray = rays_[i];
        const bool through = ray.lobe == HairScattering::TRANSMITTED;
        if (through != (kind == RayKind::Refraction)) continue;
        // Rays through many transparent hairs would multiply with each scattering: of those together about
        // one goes on (Arvo and Kirk, "Particle Transport and Image Synthesis", 1990).
        const miScalar ofPath = largestChannel(context.vela->throughput * ray.weight);
        const miScalar chance = std::min(1.0f, ofPath * static_cast<miScalar>(rayCount_));
        if (!(ray.roulette < chance)) continue;
        constexpr int noLimit = std::numeric_limits<int>::max(); // but those of the options
        SecondaryRay secondary{kind, ray.direction, ray.weight, noLimit, BLACK, surroundings_};
        secondary.weight = withAlpha(ray.weight * (1.0f / chance), 1.0f);
        secondary.counted = &lamps;
        light += traceSecondaryRay(state, secondary, context);
    }
    return light;
}

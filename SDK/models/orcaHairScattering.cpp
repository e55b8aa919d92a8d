// SPDX-License-Identifier: Apache-2.0
#include "orcaHairScattering.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr miScalar pi = std::numbers::pi_v<miScalar>;
constexpr miScalar leastRoughness = 0.03f; // narrower lobes fall between the samples of lights

miScalar square(miScalar x) noexcept {
    return x * x;
}

miScalar rootOf(miScalar x) noexcept {
    return std::sqrt(std::max(0.0f, x));
}

/// exp(-x) I0(x) of the modified Bessel function, x >= 0 (Abramowitz and Stegun, "Handbook of Mathematical
/// Functions", 1964, 9.8.1 and 9.8.2; relative error below 2e-7).
miScalar scaledBessel(miScalar x) noexcept {
    if (x <= 3.75f) {
        const miScalar t = square(x / 3.75f);
        const miScalar i0 =
            1.0f +
            t * (3.5156229f +
                 t * (3.0899424f + t * (1.2067492f + t * (0.2659732f + t * (0.0360768f + t * 0.0045813f)))));
        return std::exp(-x) * i0;
    }
    const miScalar t = 3.75f / x;
    const miScalar sum =
        0.39894228f +
        t * (0.01328592f +
             t * (0.00225319f +
                  t * (-0.00157565f +
                       t * (0.00916281f +
                            t * (-0.02057706f + t * (0.02635537f + t * (-0.01647633f + t * 0.00392377f)))))));
    return sum / std::sqrt(x);
}

/// Density over the sine of the light's longitudinal angle, normalised for every angle of the viewer (d'Eon
/// et al., 2011, equation 7).
miScalar longitudinal(miScalar sine, miScalar cosine, miScalar sineOfViewer, miScalar cosineOfViewer,
                      miScalar variance) noexcept {
    const miScalar exponent = (cosine * cosineOfViewer - sine * sineOfViewer - 1.0f) / variance;
    return std::exp(exponent) * scaledBessel(cosine * cosineOfViewer / variance) /
           (variance * (1.0f - std::exp(-2.0f / variance)));
}

miScalar logisticShareUpTo(miScalar x, miScalar scale) noexcept {
    return 1.0f / (1.0f + std::exp(-x / scale));
}

/// Fresnel's equations for unpolarised light.
miScalar reflectance(miScalar cosine, miScalar index) noexcept {
    const miScalar inside = rootOf(1.0f - (1.0f - cosine * cosine) / (index * index));
    const miScalar parallel = (index * cosine - inside) / (index * cosine + inside);
    const miScalar perpendicular = (cosine - index * inside) / (cosine + index * inside);
    return 0.5f * (square(parallel) + square(perpendicular));
}

template <class Function>
miColor perChannel(const miColor& c, const Function& function) {
    return {function(c.r), function(c.g), function(c.b), 0.0f};
}

/// How strongly a mass of hairs dims light by the root of its absorption: the fit of Chiang et al., 2016,
/// equation 9.
miScalar dimming(miScalar azimuthalRoughness) noexcept {
    const miScalar b = std::clamp(azimuthalRoughness, leastRoughness, 1.0f);
    return 5.969f + b * (-0.215f + b * (2.532f + b * (-10.73f + b * (5.574f + b * 0.245f))));
}

} // namespace

miColor hairAbsorptionOfColor(const miColor& color, miScalar azimuthalRoughness) {
    const miScalar d = dimming(azimuthalRoughness);
    return perChannel(color, [&](miScalar c) { return square(std::log(std::clamp(c, 1e-4f, 1.0f)) / d); });
}

miColor hairColorOfAbsorption(const miColor& absorption, miScalar azimuthalRoughness) {
    const miScalar d = dimming(azimuthalRoughness);
    return perChannel(absorption, [&](miScalar a) { return std::exp(-d * rootOf(a)); });
}

miColor hairAbsorptionOfMelanin(miScalar melanin, miScalar redness) {
    // Per radius, of the brown and of the red pigment (d'Eon et al., 2011). The amount rises so that equal
    // steps of the parameter look equal.
    constexpr miColor brown{0.419f, 0.697f, 1.37f, 0.0f}, red{0.187f, 0.4f, 1.05f, 0.0f};
    const miScalar amount = -std::log(1.0f - std::clamp(melanin, 0.0f, 0.9999f));
    const miScalar share = std::clamp(redness, 0.0f, 1.0f);
    return (brown * (1.0f - share) + red * share) * amount;
}

HairScattering::HairScattering(const HairOptics& optics, const FibreFrame& frame, const miVector& toViewer)
    : frame_(frame) {
    const miScalar sine = std::clamp(dot(toViewer, frame.along), -1.0f, 1.0f);
    const miScalar cosine = rootOf(1.0f - sine * sine);

    // Roughness as it looks, Chiang et al., 2016, equations 7 and 8.
    const miScalar m = std::clamp(optics.longitudinalRoughness, leastRoughness, 1.0f);
    const miScalar variance = square(0.726f * m + 0.812f * m * m + 3.7f * std::pow(m, 20.0f));
    lobe_[REFLECTED].variance = variance;
    lobe_[TRANSMITTED].variance = 0.25f * variance;
    lobe_[INNER].variance = lobe_[REST].variance = 4.0f * variance;
    const miScalar n = std::clamp(optics.azimuthalRoughness, leastRoughness, 1.0f);
    scale_ = std::sqrt(pi / 8.0f) * (0.265f * n + 1.194f * n * n + 5.372f * std::pow(n, 22.0f));
    within_ = logisticShareUpTo(pi, scale_) - logisticShareUpTo(-pi, scale_);

    attenuate(optics, sine, cosine, frame.offset);
    tilt(optics.cuticleTilt, sine, cosine);
}

void HairScattering::attenuate(const HairOptics& optics, miScalar sine, miScalar cosine, miScalar offset) {
    const miScalar index = std::max(1.0001f, optics.refractiveIndex);
    const miScalar cosineInside = rootOf(1.0f - square(sine / index)); // of the longitudinal angle
    // Azimuthal index of Bravais, for paths that cross the hair at an angle.
    const miScalar bravais = rootOf(index * index - sine * sine) / std::max(1e-4f, cosine);
    const miScalar sineAcross = std::clamp(offset / bravais, -1.0f, 1.0f);
    const miScalar path = 2.0f * rootOf(1.0f - sineAcross * sineAcross) / std::max(1e-4f, cosineInside);

    const miScalar f = reflectance(cosine * rootOf(1.0f - offset * offset), index);
    const miColor inside = perChannel(optics.absorption, [&](miScalar a) { return std::exp(-a * path); });
    lobe_[REFLECTED].attenuation = {f, f, f, 0.0f};
    lobe_[TRANSMITTED].attenuation = inside * square(1.0f - f);
    lobe_[INNER].attenuation = lobe_[TRANSMITTED].attenuation * inside * f;
    lobe_[REST].attenuation = lobe_[INNER].attenuation * perChannel(inside, [&](miScalar t) {
                                  return f * t / std::max(1e-6f, 1.0f - f * t);
                              });

    const miScalar outer = std::asin(offset), inner = std::asin(sineAcross);
    for (int p = 0; p < REST; ++p)
        lobe_[p].turn =
            2.0f * static_cast<miScalar>(p) * inner - 2.0f * outer + static_cast<miScalar>(p) * pi;
}

void HairScattering::tilt(miScalar cuticleTilt, miScalar sine, miScalar cosine) {
    constexpr std::array<miScalar, lobes> turns = {2.0f, -1.0f, -4.0f, 0.0f}; // of the scales' tilt
    for (int p = 0; p < lobes; ++p) {
        const miScalar s = std::sin(turns[p] * cuticleTilt), c = std::cos(turns[p] * cuticleTilt);
        lobe_[p].sine = sine * c + cosine * s;
        lobe_[p].cosine = std::abs(cosine * c - sine * s);
    }
}

miScalar HairScattering::density(Lobe lobe, const miVector& toLight) const {
    const LobeShape& shape = lobe_[lobe];
    const miScalar sine = std::clamp(dot(toLight, frame_.along), -1.0f, 1.0f);
    const miScalar cosine = rootOf(1.0f - sine * sine);
    const miScalar m = longitudinal(sine, cosine, shape.sine, shape.cosine, shape.variance);
    if (lobe == REST) return m * (0.5f / pi);
    const miScalar azimuth = std::atan2(-dot(toLight, frame_.across), dot(toLight, frame_.toward));
    const miScalar away = std::abs(std::remainder(azimuth - shape.turn, 2.0f * pi));
    const miScalar e = std::exp(-away / scale_);
    return m * e / (scale_ * square(1.0f + e) * within_);
}

miColor HairScattering::share(Lobe lobe, const miVector& toLight) const {
    return lobe_[lobe].attenuation * (pi * density(lobe, toLight));
}

miVector HairScattering::direction(Lobe lobe, const double* u) const {
    const LobeShape& shape = lobe_[lobe];
    // d'Eon et al., "Importance Sampling for Physically-Based Hair Fiber Models", 2013.
    const auto u0 = std::max(1e-5f, static_cast<miScalar>(u[0]));
    const miScalar cosineOff =
        1.0f + shape.variance * std::log(u0 + (1.0f - u0) * std::exp(-2.0f / shape.variance));
    const miScalar sineOff = rootOf(1.0f - cosineOff * cosineOff);
    const miScalar turned = std::cos(2.0f * pi * static_cast<miScalar>(u[1]));
    const miScalar sine = std::clamp(-cosineOff * shape.sine + sineOff * turned * shape.cosine, -1.0f, 1.0f);
    const miScalar cosine = rootOf(1.0f - sine * sine);

    const auto u2 = static_cast<miScalar>(u[2]);
    miScalar azimuth = 2.0f * pi * u2;
    if (lobe != REST) {
        const miScalar share = std::clamp(u2 * within_ + logisticShareUpTo(-pi, scale_), 1e-6f, 1.0f - 1e-6f);
        azimuth = shape.turn - scale_ * std::log(1.0f / share - 1.0f);
    }
    return normalized(frame_.along * sine +
                      (frame_.toward * std::cos(azimuth) - frame_.across * std::sin(azimuth)) * cosine);
}

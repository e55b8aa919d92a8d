// SPDX-License-Identifier: Apache-2.0
#include "velaAperture.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float pi = std::numbers::pi_v<float>;

/// The unit square onto the unit disc with little distortion (P. Shirley, K. Chiu, "A Low Distortion Map
/// Between Disk and Square", 1997).
LensPoint onDisc(float s, float t) {
    const float a = 2.0f * s - 1.0f, b = 2.0f * t - 1.0f;
    if (a == 0.0f && b == 0.0f) return {0.0f, 0.0f};
    const bool wide = std::abs(a) > std::abs(b);
    const float radius = wide ? a : b;
    const float angle = wide ? 0.25f * pi * b / a : 0.5f * pi - 0.25f * pi * a / b;
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

/// The unit square onto a regular polygon in the unit circle, evenly: one triangle of its fan a stratum.
LensPoint onPolygon(float s, float t, int sides, float rotation) {
    const float scaled = s * static_cast<float>(sides);
    const float side = std::min(std::floor(scaled), static_cast<float>(sides - 1));
    const float along = scaled - side;
    const float out = std::sqrt(t);
    const auto corner = [&](float index) {
        const float angle = rotation + 2.0f * pi * index / static_cast<float>(sides);
        return LensPoint{std::cos(angle), std::sin(angle)};
    };
    const LensPoint a = corner(side), b = corner(side + 1.0f);
    return {out * (a.x + along * (b.x - a.x)), out * (a.y + along * (b.y - a.y))};
}

/// The unit square onto a polygon whose sides are curved, evenly. At an angle x from the middle of a side the
/// border is at R(x) = (1 - c) cos(h) / cos(x) + c, where h is half the angle of a side; the angle is drawn
/// by the area of its sector, the integral of R^2, which Newton's method inverts.
LensPoint onCurvedPolygon(float s, float t, const Aperture& aperture, int sides) {
    const float half = pi / static_cast<float>(sides);
    const float straight = (1.0f - aperture.curvature) * std::cos(half), round = aperture.curvature;
    const auto sector = [&](float x) {
        const float slope = std::tan(x);
        return straight * straight * slope + 2.0f * straight * round * std::asinh(slope) + round * round * x;
    };
    const auto border = [&](float x) { return straight / std::cos(x) + round; };

    const float scaled = s * static_cast<float>(sides);
    const float side = std::min(std::floor(scaled), static_cast<float>(sides - 1));
    const float fromMiddle = 2.0f * (scaled - side) - 1.0f; // -1 to 1
    const float wanted = fromMiddle * sector(half);
    float x = fromMiddle * half;
    constexpr int steps = 4; // of a function that is nearly straight
    for (int i = 0; i < steps; ++i)
        x = std::clamp(x - (sector(x) - wanted) / (border(x) * border(x)), -half, half);
    const float radius = std::sqrt(t) * border(x);
    const float angle = aperture.rotation + (2.0f * side + 1.0f) * half + x;
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

LensPoint onShape(const Aperture& aperture, float s, float t) {
    constexpr int mostBlades = 64;
    const int sides = std::min<int>(aperture.blades, mostBlades);
    if (sides < 3 || aperture.curvature >= 1.0f) return onDisc(s, t);
    if (aperture.curvature > 0.0f) return onCurvedPolygon(s, t, aperture, sides);
    return onPolygon(s, t, sides, aperture.rotation);
}

/// Moves a point out or in along its radius.
LensPoint redistributed(const LensPoint& p, float edgeBrightness) {
    const float radius = std::hypot(p.x, p.y);
    if (edgeBrightness == 0.0f || radius == 0.0f) return p;
    const float f = std::pow(radius, std::exp2(-edgeBrightness) - 1.0f);
    return {p.x * f, p.y * f};
}

} // namespace

LensPoint pointOnAperture(const Aperture& aperture, miState* state) {
    // The front rim of the barrel, as the direction of the view moves it over the aperture.
    LensPoint rim{0.0f, 0.0f};
    if (aperture.catsEye > 0.0f && state->camera) {
        const PicturePoint seen = picturePoint(*state);
        const float cornerSquared = 1.0f + 1.0f / (state->camera->aspect * state->camera->aspect);
        const float scale = aperture.catsEye / std::sqrt(cornerSquared);
        rim = {-scale * seen.x, -scale * seen.y / state->camera->aspect};
    }
    constexpr int mostDraws = 32;
    for (int draw = 0; draw < mostDraws; ++draw) {
        double sample[2] = {0.5, 0.5};
        mi_sample(sample, nullptr, state, 2, nullptr);
        const LensPoint p =
            redistributed(onShape(aperture, static_cast<float>(sample[0]), static_cast<float>(sample[1])),
                          aperture.edgeBrightness);
        if (aperture.catsEye <= 0.0f || std::hypot(p.x - rim.x, p.y - rim.y) <= 1.0f)
            return {aperture.squeeze > 0.0f ? p.x / aperture.squeeze : p.x, p.y};
    }
    return {0.5f * rim.x, 0.5f * rim.y}; // the barrel hides nearly all of the aperture
}

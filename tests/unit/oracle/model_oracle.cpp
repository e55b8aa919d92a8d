// SPDX-License-Identifier: Apache-2.0
#include "oracle/pipeline_oracle.h"

#include <algorithm>
#include <cmath>

namespace reference {

namespace {

constexpr double epsilon = 1e-5;
constexpr int eyeRay = 0;

double secondaryWeight(double strength, const View& view, double nDotL) {
    if (strength <= 0) return 0;
    if (view.rayType == eyeRay) return strength;
    return nDotL <= 0 ? 0 : strength * nDotL;
}

} // namespace

double phong(V3 mirror, V3 light, const View& view, double exponent, double nDotL) {
    const double c = dot(mirror, light) / length(light);
    if (c <= 0) return 0;
    const double x = std::log(c) * exponent;
    return secondaryWeight(x < -10 ? 4.54e-5 : std::exp(x), view, nDotL);
}

double phongE(V3 mirror, double whiteness, double roughness, double size, double nDotL, V3 light,
              const View& view) {
    const double d = 1 - dot(mirror, light) / length(light);
    if (size <= d) return 0;
    const double u = 1 - d / size, q = u * u * (roughness - 1) + 1;
    if (std::abs(q) < epsilon) return 0;
    double strength = roughness / q * u;
    if (whiteness < 0.1 && strength > 0.001) strength *= whiteness * 10;
    return secondaryWeight(strength, view, nDotL);
}

double blinn(V3 light, V3 normal, const View& view, double a, double b, double eccentricity, double rollOff,
             double nDotL) {
    V3 half = light - view.rayDirection;
    if (length(half) > 0) half = unit(half);
    const double v = -dot(half, view.rayDirection), h = dot(half, normal);
    double m = eccentricity * eccentricity - 1;
    if (std::abs(m) < epsilon) m = epsilon;
    const double t = 1 / m;
    double g = 1 / b;
    if (a > b && v > 2 * h * b) g = 2 * h / v;
    if (a <= b && v > 2 * h * a) g = 2 * h * a / (b * v);
    g *= std::pow((t + 1) / (h * h + t), 2);
    const double f = std::pow(1 - v, 3);
    return secondaryWeight((f + (1 - f) * rollOff) * g, view, nDotL);
}

double anisotropic(V3 normal, V3 along, V3 across, double alphaAlong, double alphaAcross, V3 light,
                   V3 rayDirection) {
    const V3 view = rayDirection * -1.0, half = light + view;
    if (dot(normal, light) <= 0 || dot(normal, view) <= 0) return 0;
    const auto hidden = [&](V3 w) { // Smith's Lambda
        const double a =
            dot(w, normal) / std::hypot(dot(w, along) * alphaAlong, dot(w, across) * alphaAcross);
        return (std::exp(-a * a) / (a * std::sqrt(3.14159265358979)) - std::erfc(a)) / 2;
    };
    const double hn = dot(half, normal), square = dot(half, half);
    const double slope =
        (std::pow(dot(half, along) / alphaAlong, 2) + std::pow(dot(half, across) / alphaAcross, 2)) /
        (hn * hn);
    const double density = std::exp(-slope) * square * square / (alphaAlong * alphaAcross * std::pow(hn, 4));
    return density / (4 * dot(normal, view) * (1 + hidden(view) + hidden(light)));
}

double fresnel(double cosine, double index) {
    const double inside = std::sqrt(1 - (1 - cosine * cosine) / (index * index));
    const double across = (cosine - index * inside) / (cosine + index * inside);
    const double along = (index * cosine - inside) / (index * cosine + inside);
    return (across * across + along * along) / 2;
}

double translucence(V3 rayDirection, V3 light, double nDotL, double amount, double forward, double wrap) {
    const double start = wrap * -11.5;
    if (start >= nDotL) return 0;
    if (forward != 0) {
        const double f = (std::clamp(dot(light, rayDirection), -1.0, 1.0) + 1) * 0.5;
        amount *= std::pow(f, forward / (1.00001 - forward));
    }
    const double width = std::min(1.0, 0.15 - start);
    return start + width > nDotL ? amount * (nDotL - start) / width : amount;
}

bool admits(const std::string& mask, std::size_t record) {
    if (mask.empty()) return true;
    return std::stoi(mask.substr(record / 4, 1), nullptr, 16) >> record % 4 & 1;
}

unsigned flagsInRender(PassTypeID type, unsigned sceneFlags) {
    if (type >= 12 && type <= 15) return sceneFlags | FB_SHADOWED | FB_SHADOW_ONLY;
    if (type == 6 || type == 8 || type == 11 || type == 31 || type == 34) return sceneFlags & ~0x80u;
    return sceneFlags;
}

Rgba delivered(unsigned flags, bool contributes, Rgba light, Rgba shadow, Rgba transmission) {
    if (!contributes) return {0, 0, 0, 1};
    if (!(flags & FB_SHADOWED)) return rgbWith(light, 1);
    const Rgba there = (grey(1) - transmission) * shadow + transmission * light;
    return rgbWith(flags & FB_SHADOW_ONLY ? light - there : there, 1);
}

} // namespace reference

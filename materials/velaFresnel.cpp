// SPDX-License-Identifier: Apache-2.0
#include "velaFresnel.h"

#include "orcaColor.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

float normalReflectance(float index) noexcept {
    const float ratio = (index - 1.0f) / (index + 1.0f);
    return ratio * ratio;
}

float grazingShare(float cosine) noexcept {
    const float away = std::clamp(1.0f - cosine, 0.0f, 1.0f);
    const float squared = away * away;
    return squared * squared * away;
}

float dielectricReflectance(float cosine, float eta) noexcept {
    const float c = std::clamp(cosine, 0.0f, 1.0f);
    const float squared = eta * eta - 1.0f + c * c;
    if (!(squared > 0.0f)) return 1.0f;
    const float g = std::sqrt(squared);
    const float across = (g - c) / (g + c);
    const float along = (eta * eta * c - g) / (eta * eta * c + g);
    return 0.5f * (across * across + along * along);
}

namespace {

/// Response of the red, green and blue primaries of sRGB to light whose phase turns by `pathDifference`
/// (nanometres) over the wavelength: the transform of the observer's sensitivities, as sums of Gaussians, 1
/// for no difference.
miColor responseTo(float pathDifference) noexcept {
    const float phase = 2.0f * std::numbers::pi_v<float> * pathDifference * 1e-9f;
    // Per metre: strength, position and squared width of each Gaussian (Belcour and Barla's fit).
    constexpr float value[] = {5.4856e-13f, 4.4201e-13f, 5.2481e-13f};
    constexpr float position[] = {1.6810e+06f, 1.7953e+06f, 2.2084e+06f};
    constexpr float variance[] = {4.3278e+09f, 9.3046e+09f, 6.6121e+09f};
    constexpr float scale = 1.0685e-7f;
    const auto gaussian = [&](float v, float p, float w) {
        return v * std::sqrt(2.0f * std::numbers::pi_v<float> * w) * std::cos(p * phase) *
               std::exp(-w * phase * phase);
    };
    const float x =
        (gaussian(value[0], position[0], variance[0]) + gaussian(9.7470e-14f, 2.2399e+06f, 4.5282e+09f)) /
        scale;
    const float y = gaussian(value[1], position[1], variance[1]) / scale;
    const float z = gaussian(value[2], position[2], variance[2]) / scale;
    return {3.2404542f * x - 1.5371385f * y - 0.4985314f * z,
            -0.9692660f * x + 1.8760108f * y + 0.0415560f * z,
            0.0556434f * x - 0.2040259f * y + 1.0572252f * z, 0.0f};
}

/// Reflectance of the film's two boundaries, of which the second is `bottom`: the mean over wavelengths and
/// the first two terms of the interference, by the responses to them.
float interfering(float top, float through, float bottom, float first, float second) noexcept {
    const float product = std::min(top * bottom, 0.9999f);
    const float below = through * through * bottom / (1.0f - product);
    const float strength = 2.0f * (below - through);
    return std::clamp(top + below + strength * (std::sqrt(product) * first + product * second), 0.0f, 1.0f);
}

} // namespace

miColor filmReflectance(const ThinFilm& film, float cosine, const miColor& base,
                        const miColor& edge) noexcept {
    const float c = std::clamp(cosine, 0.0f, 1.0f);
    // Films of a few molecules fade out, since the sum below ends after its second term.
    constexpr float faintBelow = 30.0f; // nanometres
    const float t = std::clamp(film.thickness / faintBelow, 0.0f, 1.0f);
    const float index = 1.0f + (std::max(1.0f, film.index) - 1.0f) * t * t * (3.0f - 2.0f * t);
    const float inside = std::sqrt(std::max(0.0f, 1.0f - (1.0f - c * c) / (index * index)));
    const float top = dielectricReflectance(c, index), through = 1.0f - top;
    const float pathDifference = 2.0f * index * film.thickness * inside;
    // Channels of the response are divided by those for no difference, so that white stays white.
    const miColor whole = responseTo(0.0f);
    const auto relative = [&](const miColor& response) {
        return miColor{response.r / whole.r, response.g / whole.g, response.b / whole.b, 0.0f};
    };
    const auto within = [&](float normal, float grazing) {
        return normal + (grazing - normal) * grazingShare(inside);
    };
    const miColor bottom{within(base.r, edge.r), within(base.g, edge.g), within(base.b, edge.b), 0.0f};
    const miColor first = relative(responseTo(pathDifference)),
                  second = relative(responseTo(2.0f * pathDifference));
    const auto channel = [&](float normal, float r, float s1, float s2) {
        // Reflection at a denser medium shifts the phase by half a wave: at the top, and at the bottom when
        // the surface is denser than the film.
        const float root = std::sqrt(std::clamp(normal, 0.0f, 0.9999f));
        const float sign = (1.0f + root) / (1.0f - root) < index ? 1.0f : -1.0f;
        return interfering(top, through, r, sign * s1, s2);
    };
    return {channel(base.r, bottom.r, first.r, second.r), channel(base.g, bottom.g, first.g, second.g),
            channel(base.b, bottom.b, first.b, second.b), 0.0f};
}

} // namespace vela

// SPDX-License-Identifier: Apache-2.0
#include "render/film/deep_film.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

/// Transmittance below which what follows is behind something opaque.
constexpr float opaque = 1e-6f;

bool isBefore(const image::DeepSample& a, const image::DeepSample& b) {
    return a.front != b.front ? a.front < b.front : a.back < b.back;
}

/// Makes shares of a pixel samples that are composited over each other.
void unattenuate(std::vector<image::DeepSample>& samples) {
    std::stable_sort(samples.begin(), samples.end(), isBefore);
    float through = 1.0f, throughBefore = 1.0f;
    std::size_t kept = 0;
    for (const image::DeepSample& share : samples) {
        if (through < opaque) { // the first sample finds all of it
            for (int c = 0; c < 3; ++c) samples[kept - 1].color[c] += share.color[c] / throughBefore;
            continue;
        }
        image::DeepSample& sample = samples[kept++] = share;
        sample.alpha = std::clamp(share.alpha / through, 0.0f, 1.0f);
        for (float& channel : sample.color) channel /= through;
        throughBefore = through;
        through *= 1.0f - sample.alpha;
    }
    samples.resize(kept);
    // Samples that overlap in depth would be cut by the programs that read them.
    for (std::size_t i = 0; i + 1 < kept; ++i)
        samples[i].back = std::min(samples[i].back, samples[i + 1].front);
}

} // namespace

DeepFilm::DeepFilm(const PixelWindow& sampled)
    : sampled_(sampled),
      pixels_(static_cast<std::size_t>(sampled.width()) * static_cast<std::size_t>(sampled.height())) {
}

void DeepFilm::add(int x, int y, float weight, const Part& part) {
    std::vector<Sum>& sums = pixel(x, y).sums;
    const auto addTo = [&](Sum& sum) {
        sum.part.depth = std::min(sum.part.depth, part.depth);
        sum.back = std::max(sum.back, part.depth);
        sum.part.alpha += weight * part.alpha;
        for (int c = 0; c < 3; ++c) sum.part.color[c] += weight * part.color[c];
    };
    Sum* nearest = nullptr;
    float distance = 0.0f;
    for (Sum& sum : sums) {
        const float front = std::min(sum.part.depth, part.depth), back = std::max(sum.back, part.depth);
        if (sum.part.surface == part.surface && back - front <= tolerance * front) {
            addTo(sum);
            return;
        }
        const float apart = std::max(sum.part.depth - part.depth, part.depth - sum.back);
        if (!nearest || apart < distance) nearest = &sum, distance = apart;
    }
    if (sums.size() >= mostSamples) {
        addTo(*nearest);
        return;
    }
    Sum& sum = sums.emplace_back(Sum{part, part.depth});
    sum.part.alpha *= weight;
    for (float& channel : sum.part.color) channel *= weight;
}

image::DeepPicture DeepFilm::picture(const PixelWindow& window) const {
    image::DeepPicture picture;
    std::vector<image::DeepSample> samples;
    for (int y = window.yl; y <= window.yh; ++y)
        for (int x = window.xl; x <= window.xh; ++x) {
            const Pixel& pixel = pixels_[index(x, y)];
            const float scale = pixel.weight == 0.0f ? 0.0f : 1.0f / pixel.weight;
            samples.clear();
            for (const auto& [part, back] : pixel.sums)
                samples.push_back({part.depth,
                                   back,
                                   part.alpha * scale,
                                   {part.color[0] * scale, part.color[1] * scale, part.color[2] * scale}});
            unattenuate(samples);
            picture.samples.insert(picture.samples.end(), samples.begin(), samples.end());
            picture.ends.push_back(picture.samples.size());
        }
    return picture;
}

} // namespace orca::render

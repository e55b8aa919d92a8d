// SPDX-License-Identifier: Apache-2.0
#include "render/sampling/sampler.h"

#include "render/sampling/low_discrepancy.h"

namespace orca::render {

void Sampler::startSample(std::uint32_t seed, int pixelX, int pixelY, std::uint32_t sampleIndex) {
    pixelKey_ =
        mixKeys(mixKeys(seed, static_cast<std::uint32_t>(pixelX)), static_cast<std::uint32_t>(pixelY));
    ownIndex_ = sampleIndex;
    centred_ = false;
    restart();
}

void Sampler::restart() {
    sampleIndex_ = ownIndex_;
    decisions_ = 0;
    loops_.clear();
}

void Sampler::startCentred(std::uint32_t seed) {
    startSample(seed, 0, 0, 0);
    centred_ = true;
}

float Sampler::eye(int dimension) const {
    return centred_ ? 0.5f : scrambledSobol(ownIndex_, dimension, pixelKey_);
}

std::uint32_t Sampler::nextKey() {
    return mixKeys(pixelKey_, ++decisions_);
}

float Sampler::coordinate(std::uint32_t key, std::uint32_t point, std::uint32_t count, int dimension) const {
    if (centred_ && count == 1) return 0.5f;
    // Four dimensions come from one sequence; further ones pad with independent sequences.
    const std::uint32_t padded = dimension < sobolDimensions
                                     ? key
                                     : mixKeys(key, static_cast<std::uint32_t>(dimension / sobolDimensions));
    return scrambledSobol(sampleIndex_ * count + point, dimension % sobolDimensions, padded);
}

Sampler::Loop& Sampler::loopOf(const int* instance, bool first) {
    // Inner loops end before outer ones, so the newest entry of an address is the right one.
    auto active = loops_.end();
    while (active != loops_.begin() && (active - 1)->instance != instance) --active;
    const bool found = active != loops_.begin();
    if (found) loops_.erase(first ? active - 1 : active, loops_.end());
    if (first || !found) loops_.push_back({instance, nextKey()});
    return loops_.back();
}

std::uint32_t Sampler::lightKey(const int* counter, bool first) {
    return loopOf(counter, first).key;
}

bool Sampler::loop(double* sample, int* instance, unsigned dimension, const unsigned* count) {
    if (count && *count == 0) return false;
    if (!instance) {
        const std::uint32_t key = nextKey();
        for (unsigned d = 0; d < dimension; ++d) sample[d] = coordinate(key, 0, 1, static_cast<int>(d));
        return true;
    }

    const std::uint32_t key = loopOf(instance, *instance == 0).key;
    const std::uint32_t point = static_cast<std::uint32_t>(*instance);
    if (count && point >= *count) {
        loops_.pop_back();
        return false;
    }
    const std::uint32_t stride =
        count ? *count : 1024; // an endless loop of more points than this repeats itself
    for (unsigned d = 0; d < dimension; ++d) sample[d] = coordinate(key, point, stride, static_cast<int>(d));
    ++*instance;
    return true;
}

} // namespace orca::render

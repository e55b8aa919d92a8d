// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"

#include <string>
#include <vector>

/// How a pixel's value comes from its samples. Sums of floats depend on their order, so the order is fixed:
/// samples are added in blocks of 4^n that begin at a multiple of their own size, and a block is the sum of
/// its four quarters, one after the other. So the blocks of a range of samples can be summed on another
/// machine and added to the others later: the picture is, bit for bit, the one that takes all samples at
/// once.
namespace orca::image {

/// Samples `first` to `end` - 1 of each pixel's sequence.
struct SampleRange {
    unsigned first, end;
    [[nodiscard]] unsigned count() const { return end - first; }
    friend bool operator==(const SampleRange&, const SampleRange&) = default;
};

/// Quarter `index`, 0 to 3, of a block of more than one sample.
[[nodiscard]] inline SampleRange quarterOf(SampleRange block, unsigned index) {
    const unsigned count = block.count() / 4;
    return {block.first + index * count, block.first + (index + 1) * count};
}

/// The fewest blocks that make up a range, in order; all samples are four, because the variance is known from
/// their quarters.
/// @param samples of each pixel in the whole picture
[[nodiscard]] std::vector<SampleRange> blocksOf(SampleRange range, unsigned samples);

/// "0:16"
[[nodiscard]] std::string textOf(SampleRange range);
/// "0:16 of 64"
[[nodiscard]] std::string textOf(SampleRange range, unsigned samples);

/// What a pixel keeps of its samples' values.
enum class Accumulation {
    Mean,         ///< weighted by the pixel filter
    Closest,      ///< that of the sample closest to the pixel's centre, the first of equally close ones
    NearestDepth, ///< the nearest surface inside the pixel; as Closest while no sample is inside
    Ids,          ///< weights of ids, each added up by itself, weighted by the pixel filter
    Count,        ///< number of samples
    Variance      ///< of the mean of the primary buffer; sums of samples hold that buffer's in its place
};
[[nodiscard]] Accumulation accumulationOf(const Buffer& buffer);

/// True where a pixel keeps the value of one of its samples.
[[nodiscard]] constexpr bool keepsOneSample(Accumulation accumulation) {
    return accumulation == Accumulation::Closest || accumulation == Accumulation::NearestDepth;
}

/// A sum of weighted values, and of their weights.
struct WeightedSum {
    float value, weight;
};
/// What a further part of a pixel's samples adds to the sum of squared deviations of equal parts' means from
/// the mean of all. One part after the other: B. P. Welford, "Note on a Method for Calculating Corrected Sums
/// of Squares and Products", 1962.
/// @param parts before this one
[[nodiscard]] inline float squaredDeviation(int parts, const WeightedSum& before, const WeightedSum& after) {
    const float share = static_cast<float>(parts) / static_cast<float>(parts + 1);
    const float mean = (after.value - before.value) / (after.weight - before.weight);
    const float deviation = mean - before.value / before.weight;
    return share * deviation * deviation;
}
/// Of the mean of `parts` equal parts, at least 2, from the sum of their squared deviations.
[[nodiscard]] inline float varianceOfMean(float squaredDeviations, int parts) {
    return squaredDeviations * (1.0f / static_cast<float>(parts * (parts - 1)));
}

/// Distance from a pixel's centre, in x or y, up to which a sample is inside the pixel.
inline constexpr float insidePixel = 0.5f;

/// The mean of samples from their sum; without a weight, the sum.
[[nodiscard]] inline float dividedByWeight(float sum, float weight) {
    return weight == 0.0f ? sum : sum * (1.0f / weight);
}

/// Depth 0 means that there is no surface, so any surface is nearer.
[[nodiscard]] inline bool isNearer(float depth, float than) {
    if (depth == 0.0f) return false;
    return than == 0.0f || depth < than;
}

/// True when a pixel whose value is no mean takes the value of a later sample, or of a later block of
/// samples, in place of its own.
/// @param value,kept of the later one and of the pixel
/// @param distance,keptDistance of their closest samples from the pixel's centre; infinite without a sample
[[nodiscard]] inline bool replaces(Accumulation accumulation, float value, float distance, float kept,
                                   float keptDistance) {
    if (accumulation == Accumulation::NearestDepth && keptDistance <= insidePixel)
        return distance <= insidePixel && isNearer(value, kept);
    return distance < keptDistance;
}

} // namespace orca::image

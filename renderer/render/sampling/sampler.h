// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

namespace orca::render {

/// Random decisions of one eye sample: low-discrepancy points keyed by pixel, sample and the number of the
/// decision within the sample. Nothing else enters, so a picture is the same for any number of threads.
class Sampler {
public:
    /// `seed` changes the pattern of the whole picture.
    void startSample(std::uint32_t seed, int pixelX, int pixelY, std::uint32_t sampleIndex);

    /// A sample whose single decisions, its time among them, all fall in the middle, whatever its place.
    /// Loops of several points are those of `startSample`.
    void startCentred(std::uint32_t seed);

    /// The sample's decisions are made again from the first one on.
    void restart();
    /// Until restart() decisions are those of another sample of the pixel.
    void continueAs(std::uint32_t sampleIndex) { sampleIndex_ = sampleIndex; }

    /// Coordinate of the sample's own point: stable meaning per dimension (see `EyeDimension`).
    [[nodiscard]] float eye(int dimension) const;

    /// Key of a new sequence for one decision, such as a loop over a light's samples.
    [[nodiscard]] std::uint32_t nextKey();
    /// Coordinate `dimension` of point `point` of a loop with `count` points: stratified within the loop and
    /// over the pixel's samples.
    [[nodiscard]] float coordinate(std::uint32_t key, std::uint32_t point, std::uint32_t count,
                                   int dimension) const;

    /// In [0, 1): of a fresh sequence each time.
    [[nodiscard]] float nextRandom() noexcept { return coordinate(nextKey(), 0, 1, 0); }

    /// Key of a light's loop, which the address of its sample counter identifies: new for the first sample,
    /// the same for the rest.
    [[nodiscard]] std::uint32_t lightKey(const int* counter, bool first);

    /// One step of a loop as the shader interface has it: `instance` identifies the loop by its address.
    /// False when the loop is over. `count` null: the loop has no end; `instance` null: a single point.
    bool loop(double* sample, int* instance, unsigned dimension, const unsigned* count);

private:
    struct Loop {
        const int* instance;
        std::uint32_t key;
    };
    std::uint32_t pixelKey_ = 0;
    std::uint32_t ownIndex_ = 0;    // of the sample
    std::uint32_t sampleIndex_ = 0; // that decisions are made with
    std::uint32_t decisions_ = 0;
    bool centred_ = false;
    /// The active loop of an address; those inside it, left early by their shaders, are dropped.
    Loop& loopOf(const int* instance, bool first);

    std::vector<Loop> loops_;
};

/// Dimensions of `Sampler::eye`.
enum EyeDimension : int { EyeFilterX = 0, EyeFilterY = 1, EyeFilterLobe = 2, EyeTime = 3 };

} // namespace orca::render

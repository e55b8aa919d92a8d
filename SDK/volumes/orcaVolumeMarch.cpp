// SPDX-License-Identifier: Apache-2.0
#include "orcaVolumeMarch.h"

#include "orcaColor.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr float hiddenBelow = 1e-5f; // transmittance below which nothing behind is seen

void add(VolumeMix& sum, const VolumeMix& other, float weight) {
    sum.extinction += other.extinction * weight;
    sum.scattering += other.scattering * weight;
    for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer) {
        sum.emission[layer] += other.emission[layer] * weight;
        sum.density[layer] += other.density[layer] * weight;
    }
}

float largestDifference(const miColor& a, const miColor& middle, const miColor& b) {
    const miColor bend = a + b - middle * 2.0f;
    return std::max({std::abs(bend.r), std::abs(bend.g), std::abs(bend.b)});
}

} // namespace

miColor transmittanceOf(const miColor& opticalDepth) {
    const miColor share{std::exp(-opticalDepth.r), std::exp(-opticalDepth.g), std::exp(-opticalDepth.b),
                        1.0f};
    return withAlpha(share, luminance(share));
}

miColor stepIntegral(const miColor& extinction, miScalar length) {
    const auto channel = [length](float coefficient) {
        const float depth = coefficient * length;
        return depth > 1e-6f ? -std::expm1(-depth) / coefficient : length;
    };
    return {channel(extinction.r), channel(extinction.g), channel(extinction.b), 1.0f};
}

VolumeMarch::VolumeMarch(const VolumeSet& set, const VolumeRay& ray, const MarchSettings& settings,
                         miScalar jitter)
    : set_(set), ray_(ray), settings_(settings), jitter_(jitter) {
    for (VolumeSpan& span : spans_) span = {0.0f, 0.0f}; // asked for when the march begins
}

VolumeMix VolumeMarch::mixAt(miScalar distance) const {
    VolumeMix mix;
    for (std::uint32_t left = active_; left; left &= left - 1) {
        const VolumePrimitive& medium = *set_.media()[static_cast<std::size_t>(__builtin_ctz(left))];
        const VolumeSample sample = medium.at(ray_, distance);
        const miColor extinction = sample.scattering + sample.absorption;
        mix.extinction += extinction;
        mix.scattering += sample.scattering;
        mix.emission[medium.layer] += sample.emission;
        mix.density[medium.layer] += luminance(extinction);
    }
    return mix;
}

/// The next interval within which the same media are entered. False: the ray ends before there is one.
bool VolumeMarch::enterInterval() {
    constexpr float never = std::numeric_limits<float>::infinity();
    while (position_ < ray_.length) {
        active_ = 0;
        float boundary = ray_.length, detail = never;
        homogeneous_ = true;
        for (std::size_t i = 0; i < set_.media().size(); ++i) {
            const VolumePrimitive& medium = *set_.media()[i];
            VolumeSpan& span = spans_[i];
            if (span.to <= position_ && !medium.next(ray_, position_, span)) span = {never, never};
            if (span.from > position_) {
                boundary = std::min(boundary, span.from);
                continue;
            }
            boundary = std::min(boundary, span.to);
            active_ |= 1u << i;
            homogeneous_ = homogeneous_ && medium.homogeneous;
            if (!medium.homogeneous && medium.detail > 0.0f) detail = std::min(detail, medium.detail);
        }
        // Boundaries so close that single precision cannot tell them apart must not stop the march.
        boundary = std::max(boundary, std::nextafter(position_, never));
        interval_ = {position_, std::min(boundary, ray_.length)};
        position_ = boundary;
        if (!active_) continue;
        constexpr float mostPieces = 512.0f;
        const float length = interval_.to - interval_.from;
        const float longest = settings_.stepSize > 0.0f ? settings_.stepSize : detail * settings_.detailScale;
        pieceLength_ = std::max(std::min(longest, length), length / mostPieces);
        firstLength_ = pieceLength_ < length ? std::max(jitter_, 0.05f) * pieceLength_ : length;
        return true;
    }
    return false;
}

/// The next piece of the interval becomes the one to be cut.
void VolumeMarch::beginPiece() {
    const float length = std::exchange(firstLength_, pieceLength_);
    const float rest = interval_.to - interval_.from;
    // What would be left over as a sliver goes to the last piece.
    const float to = rest <= 1.001f * length ? interval_.to : interval_.from + length;
    Piece& piece = pieces_[0];
    piece.atFrom = mixAt(interval_.from);
    piece.inMiddle = mixAt(0.5f * (interval_.from + to));
    piece.atTo = mixAt(to);
    piece.from = interval_.from;
    piece.to = to;
    piece.halvings = 0;
    interval_.from = to;
    pieceCount_ = 1;
}

bool VolumeMarch::needsHalving(const Piece& piece) const {
    if (piece.halvings >= mostHalvings) return false;
    float bend = largestDifference(piece.atFrom.extinction, piece.inMiddle.extinction, piece.atTo.extinction);
    for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer)
        bend = std::max(bend, largestDifference(piece.atFrom.emission[layer], piece.inMiddle.emission[layer],
                                                piece.atTo.emission[layer]));
    constexpr float simpsonLessLine = 1.0f / 6.0f; // of the integrals, over bend and length
    return bend * (piece.to - piece.from) * simpsonLessLine > settings_.tolerance;
}

bool VolumeMarch::next(VolumeStep& step) {
    if (pieceCount_ == 0) {
        if (!(interval_.from < interval_.to) && !enterInterval()) return false;
        if (homogeneous_) {
            step = {interval_.from, interval_.to, mixAt(0.5f * (interval_.from + interval_.to))};
            interval_.from = interval_.to;
            return true;
        }
        beginPiece();
    }
    while (needsHalving(pieces_[pieceCount_ - 1])) {
        Piece& far = pieces_[pieceCount_ - 1];
        Piece& near = pieces_[pieceCount_++];
        near = far;
        const float middle = 0.5f * (far.from + far.to);
        near.to = far.from = middle;
        near.atTo = far.atFrom = far.inMiddle;
        ++near.halvings, ++far.halvings;
        near.inMiddle = mixAt(0.5f * (near.from + near.to));
        far.inMiddle = mixAt(0.5f * (far.from + far.to));
    }
    const Piece& piece = pieces_[--pieceCount_];
    step.from = piece.from;
    step.to = piece.to;
    step.mix = {};
    add(step.mix, piece.atFrom, 1.0f / 6.0f);
    add(step.mix, piece.inMiddle, 4.0f / 6.0f);
    add(step.mix, piece.atTo, 1.0f / 6.0f);
    return true;
}

miColor transmittanceAlong(const VolumeSet& set, const VolumeRay& ray, const MarchSettings& settings,
                           miScalar jitter) {
    VolumeMarch march(set, ray, settings, jitter);
    VolumeStep step;
    miColor depth{};
    while (march.next(step)) {
        depth += step.mix.extinction * (step.to - step.from);
        if (largestChannel(transmittanceOf(depth)) < hiddenBelow) break;
    }
    return transmittanceOf(depth);
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Steps along a ray through media, whose lengths adapt to how these change.

#include "orcaVolumeSet.h"

#include <cstdint>

/// What all media together are like at a point, or on average over a step.
struct VolumeMix {
    miColor extinction{}, scattering{};
    miColor emission[VOLUME_LAYER_COUNT]{}; ///< of the media of each layer
    miScalar density[VOLUME_LAYER_COUNT]{}; ///< luminance of the extinction by those of each layer
};

struct VolumeStep {
    miScalar from, to;
    VolumeMix mix;
};

struct MarchSettings {
    miScalar stepSize;  ///< scene units, of the longest step; 0: as the media's details ask for
    miScalar tolerance; ///< of the optical depth and of the emission of a step
    /// For the paths of light, of which a point takes many: steps and tolerance several times as large.
    [[nodiscard]] MarchSettings forLight() const noexcept {
        constexpr miScalar times = 3.0f;
        return {stepSize * times, tolerance * times, times};
    }
    miScalar detailScale = 1.0f; ///< of the steps that details ask for
};

/// Transmittance of a path of this optical depth, by channel; alpha is its luminance.
[[nodiscard]] miColor transmittanceOf(const miColor& opticalDepth);
/// Integral over a step of transmittance from its beginning: (1 - exp(-extinction length)) / extinction, by
/// channel.
[[nodiscard]] miColor stepIntegral(const miColor& extinction, miScalar length);

/// The steps of one ray, in order; empty parts are passed over. Homogeneous media are one step as far as they
/// reach. Others are cut into pieces, the first of a length that is jittered, and pieces halved until a
/// parabola and a straight line through their density agree (adaptive Simpson integration: W. Kuncir,
/// "Algorithm 103: Simpson's rule integrator", 1962).
class VolumeMarch {
public:
    /// @param jitter 0 to 1
    VolumeMarch(const VolumeSet& set, const VolumeRay& ray, const MarchSettings& settings, miScalar jitter);
    /// False: there is none left.
    bool next(VolumeStep& step);

    [[nodiscard]] VolumeMix mixAt(miScalar distance) const;
    /// Bit i: medium i of the set is entered at the step that `next` gave last.
    [[nodiscard]] std::uint32_t active() const noexcept { return active_; }

private:
    struct Piece {
        miScalar from, to;
        VolumeMix atFrom, inMiddle, atTo;
        int halvings;
    };
    static constexpr int mostHalvings = 6;

    bool enterInterval();
    void beginPiece();
    [[nodiscard]] bool needsHalving(const Piece& piece) const;

    const VolumeSet& set_;
    const VolumeRay& ray_;
    const MarchSettings& settings_;
    miScalar jitter_;
    VolumeSpan spans_[VolumeSet::mostMedia];
    miScalar position_ = 0.0f;
    std::uint32_t active_ = 0;
    VolumeSpan interval_{0.0f, 0.0f}; ///< what is left of the one between two boundaries
    miScalar pieceLength_ = 0.0f;     ///< within it
    miScalar firstLength_ = 0.0f;
    bool homogeneous_ = false;
    Piece pieces_[mostHalvings + 1];
    int pieceCount_ = 0;
};

/// Transmittance of the whole ray; alpha is its luminance.
[[nodiscard]] miColor transmittanceAlong(const VolumeSet& set, const VolumeRay& ray,
                                         const MarchSettings& settings, miScalar jitter);

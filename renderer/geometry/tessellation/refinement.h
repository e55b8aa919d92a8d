// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/tessellation/view.h"

#include "scene/elements/approximation.h"

#include <shader.h>

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace orca::geometry {

/// A point of a curved surface, in object space.
struct SurfaceSample {
    miVector point;
    miVector normal; ///< unit, or null where there is none: no angle is measured there
};

/// From where one object's surfaces are seen: by the camera, once for every instance of the object.
struct SurfaceViews {
    const TessellationView* view = nullptr; ///< null: no camera; limits in pixels are left out
    std::vector<const miScalar*> localToWorld;
};

/// Decides how often pieces of curves on surfaces are halved.
class Refinement {
public:
    static constexpr int mostHalvings = 12;

    /// @param given null: by what a smooth picture needs
    Refinement(const scene::SurfaceApproximation* given, const SurfaceViews& views);

    [[nodiscard]] const scene::SurfaceApproximation& approximation() const { return approximation_; }

    /// Halvings of a curve until every piece is within the limits.
    /// @param sampleAt answers a SurfaceSample for a parameter from 0 to 1
    template <class SampleAt>
    [[nodiscard]] int halvingsOf(const SampleAt& sampleAt) const {
        int halvings = approximation_.leastHalvings;
        std::vector<SurfaceSample> samples;
        for (; halvings < approximation_.mostHalvings; ++halvings) {
            const std::size_t pieces = std::size_t{1} << halvings, count = pieces * perPiece;
            const auto at = [&](std::size_t i) {
                return sampleAt(static_cast<float>(i) / static_cast<float>(count));
            };
            if (samples.empty()) {
                for (std::size_t i = 0; i <= count; ++i) samples.push_back(at(i));
            } else {
                std::vector<SurfaceSample> finer(count + 1);
                for (std::size_t i = 0; i <= count; ++i) finer[i] = i % 2 == 0 ? samples[i / 2] : at(i);
                samples = std::move(finer);
            }
            bool fine = true;
            for (std::size_t i = 0; i < pieces && fine; ++i)
                fine = isFine(
                    std::span<const SurfaceSample, perPiece + 1>(&samples[i * perPiece], perPiece + 1));
            if (fine) break;
        }
        return halvings;
    }

    /// Allows one halving less, for surfaces that would become too large; false where none is left.
    bool coarsen();

private:
    static constexpr std::size_t perPiece = 4; // a curve that winds may cross the middle of its chord

    [[nodiscard]] bool isFine(std::span<const SurfaceSample, perPiece + 1> piece) const;
    [[nodiscard]] bool isWithin(const miVector& a, const miVector& b, float limit) const;

    scene::SurfaceApproximation approximation_;
    const TessellationView* view_;
    std::vector<std::array<miScalar, 16>> toCamera_;
    float leastCosine_ = -2.0f; ///< of angles between normals
};

} // namespace orca::geometry

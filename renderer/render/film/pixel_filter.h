// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace orca::render {

/// Reconstruction filter by importance sampling: the filter is the probability density of sample positions,
/// and every sample contributes to one pixel only (M. Ernst, M. Stamminger, G. Greiner, "Filter Importance
/// Sampling", 2006). So pixels are independent of each other and tiles need no borders. The negative lobes of
/// Mitchell and Lanczos get every fourth sample.
class PixelFilter {
public:
    /// `kind` is one of miFILTER_*; widths are the whole support in pixels, 0 for the filter's usual width.
    PixelFilter(char kind, float width, float height);

    struct Placement {
        float x, y;   ///< offset from the pixel's centre, pixels
        float weight; ///< of the sample within its pixel
    };
    /// Position and weight of sample `index` of a pixel from three coordinates in [0, 1).
    [[nodiscard]] Placement place(unsigned index, float u, float v, float lobe) const;

    /// False when `place` ignores its `lobe`.
    [[nodiscard]] bool hasNegativeLobes() const { return negativeMass_ > 0.0f; }
    [[nodiscard]] float width() const { return x_.support; }
    [[nodiscard]] float height() const { return y_.support; }

private:
    /// Inverse of the cumulative distribution of one sign of the filter along one axis.
    struct Lobe {
        std::vector<float>
            inverse;       ///< positions at equal steps of probability; empty: the sign does not occur
        float mass = 0.0f; ///< integral of the absolute value
    };
    struct Axis {
        float support;
        Lobe positive, negative;
    };
    static Axis tabulate(char kind, float support);
    static float position(const Lobe& lobe, float u);

    Axis x_, y_;
    float positiveMass_, negativeMass_;
};

} // namespace orca::render

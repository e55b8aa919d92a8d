// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/freeform/spline.h"
#include "geometry/tessellation/refinement.h"

#include "scene/elements/freeform_surface.h"

#include <array>
#include <vector>

namespace orca::geometry {

/// A free-form surface, or the part of one between two joints at which its normal changes abruptly.
class Patch {
public:
    Patch(const scene::FreeformSurface& surface, const scene::SplineDirection& u,
          const scene::SplineDirection& v);

    /// The patches that a surface consists of: one, unless it has creases and no trims.
    [[nodiscard]] static std::vector<Patch> of(const scene::FreeformSurface& surface);

    [[nodiscard]] const scene::FreeformSurface& surface() const { return *surface_; }
    [[nodiscard]] const SplineSurface& spline() const { return spline_; }
    [[nodiscard]] SurfaceSample sample(double u, double v) const {
        return spline_.sample(surface_->net, u, v);
    }
    /// Displacement along every motion segment.
    void motionAt(double u, double v, miVector* motions) const;
    /// Coordinates in every texture space: of the texture surfaces, or without one u and v.
    void texturesAt(double u, double v, miVector* textures) const;
    [[nodiscard]] std::size_t textureSpaces() const;

    /// The border of the parameter range: sides 0 and 1 where v is lowest and highest, along u; sides 2 and 3
    /// where u is, along v. `along` goes from 0 to 1.
    static constexpr int sides = 4;
    [[nodiscard]] std::array<double, 2> onSide(int side, double along) const;

    /// Parameters at which the patch is cut, with both ends of the range.
    struct Lines {
        std::vector<double> u, v;
    };
    [[nodiscard]] Lines linesFor(const Refinement& refinement) const;

private:
    [[nodiscard]] std::vector<double> linesAlong(const Refinement& refinement, bool alongU) const;
    [[nodiscard]] std::vector<double> creases(bool alongU) const;

    const scene::FreeformSurface* surface_;
    SplineSurface spline_;
    std::vector<scene::ControlNet> later_; ///< at the end of every motion segment
    std::vector<SplineSurface> textures_;
};

} // namespace orca::geometry

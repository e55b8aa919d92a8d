// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/options_element.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

/// How light is gathered over hemispheres, as the options say.
struct GatherSettings : scene::GatherOptions {
    GatherSettings() = default;
    GatherSettings(const scene::GatherOptions& gather, const miOptions& options)
        : scene::GatherOptions(gather),
          rays(options.finalgather && options.trace ? options.finalgather_rays : 0),
          bounces(std::max(0, options.finalgather_diffuse_depth)),
          maxRadius(std::max(0.0f, options.finalgather_maxradius)),
          minRadius(std::max(0.0f, options.finalgather_minradius)),
          spacing(rays > 0 ? spacingOf(presampleDensity) : 0) {}

    int rays = 0;    ///< per point; below 1: nothing is gathered
    int bounces = 0; ///< beyond the first
    /// Radii within which a record of the prepass may be used, scene units or pixels; 0: from the size of the
    /// scene.
    float maxRadius = 0.0f, minRadius = 0.0f;
    int spacing = 0; ///< pixels between the points of the prepass' finest grid; 0: no prepass

private:
    /// @param density points, as a multiple of one every 4 pixels in either direction
    static int spacingOf(float density) {
        if (!(density > 0.0f)) return 0;
        return std::clamp(static_cast<int>(std::lround(4.0f / std::sqrt(density))), 1, 64);
    }
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/options_element.h"

#include <algorithm>

namespace orca::render {

/// How light is gathered over hemispheres: what the options say, for the renderer.
struct GatherSettings : scene::GatherOptions {
    GatherSettings() = default;
    explicit GatherSettings(const scene::OptionsElement& element)
        : scene::GatherOptions(element.gather),
          rays(element.options.finalgather && element.options.trace ? element.options.finalgather_rays : 0),
          bounces(std::max(0, element.options.finalgather_diffuse_depth)),
          maxRadius(std::max(0.0f, element.options.finalgather_maxradius)),
          minRadius(std::max(0.0f, element.options.finalgather_minradius)) {}

    int rays = 0;    ///< per point; below 1: nothing is gathered
    int bounces = 0; ///< beyond the first
    /// How far light gathered ahead may serve, scene units or pixels; 0: from the size of what is seen.
    float maxRadius = 0.0f, minRadius = 0.0f;
};

} // namespace orca::render

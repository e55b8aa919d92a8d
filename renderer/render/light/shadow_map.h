// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "render/context/light_instances.h"
#include "scene/elements/options_element.h"

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

namespace orca::geometry {
class SceneGeometry;
}

namespace orca::render {

/// Depths of the surfaces that cast one light's shadows, seen from the light: a square for a spot or a
/// directional light, a cube for a point light. Constant once it is made.
///
/// Without a bias, a texel keeps the middle between the first surface and the next behind it (A. Woo, "The
/// Shadow Depth Map Revisited", 1992), so that no surface shades itself.
class ShadowMap {
public:
    /// Casts one ray a texel, two where the first one hits, on the threads of the current arena, at shutter
    /// time 0. `defaultBias` (scene units) is that of a light without one of its own; 0: none.
    ShadowMap(const geometry::SceneGeometry& geometry, const LightInstance& light, float defaultBias,
              const std::atomic<bool>* stop);

    [[nodiscard]] static std::uint64_t bytesNeeded(const miLight& light);

    /// Share of the light that reaches a point, 0 to 1, averaged over the texels around it or over a disc of
    /// the light's softness. 1 outside a spot's square.
    [[nodiscard]] float lit(const miVector& point) const;

private:
    struct Face {
        miVector right, up, forward; // unit
        std::vector<float> depths;   // rows bottom up
    };
    /// A point projected onto a face: texel coordinates, and depth along the ray from the light.
    struct Projected {
        int face;
        float x, y, depth;
    };
    [[nodiscard]] bool project(const miVector& point, Projected& result) const;
    void fill(const geometry::SceneGeometry& geometry, Face& face, int row) const;
    [[nodiscard]] float compare(const Projected& point) const;

    const LightInstance& light_;
    std::vector<Face> faces_;
    int resolution_;
    float bias_;      // scene units
    float halfWidth_; // tangent of the half angle; directional: half the square's edge, scene units
    miVector origin_; // directional: in front of the scene's bounds
    bool directional_;
};

/// The maps of a picture's lights.
class ShadowMaps {
public:
    /// Makes those that lights and options ask for, on an arena of at most `threads` threads. Maps that take
    /// more than the machine's memory are errors that name the light, whose shadows are traced then. Ends
    /// soon after `stop` (may be null) is set.
    ShadowMaps(const geometry::SceneGeometry& geometry, const LightInstances& lights,
               const scene::OptionsElement& options, int threads, const std::atomic<bool>* stop, Log& log);

    /// Null for a light that has none.
    [[nodiscard]] const ShadowMap* of(miTag lightInstance) const {
        for (const auto& [instance, map] : maps_)
            if (instance == lightInstance) return &map;
        return nullptr;
    }

private:
    std::vector<std::pair<miTag, ShadowMap>> maps_;
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orca::render {

/// One surface, light or stretch of background that an eye sample sees.
struct SeenSurface {
    std::uint32_t meshInstance; ///< geometry::nothing for others
    miTag material;
    miTag light;   ///< instance of a visible light; null for others
    float depth;   ///< along the view axis, scene units; of the background that of the far clipping plane
    float weight;  ///< share of the sample's alpha: its own opacity behind what is in front
    miColor color; ///< share of the sample's colour; alpha unused
};

/// What an eye ray sees: the surfaces along it, through transparent ones, with the share that each has in the
/// sample. Mirrors and refraction are not followed: what is seen in them belongs to the surface. One eye
/// sample of one thread at a time.
///
/// A shader returns the colour of its surface over what it has traced behind. How opaque the surface is by
/// itself is what its shader sets by mi_opacity_set, else what the alphas of its result and of what is behind
/// say; a result equal to what is behind is that of a surface that is not there. Where neither says it, as
/// before something opaque, the surface takes all.
class SeenSurfaces {
public:
    /// A new eye sample.
    void begin();
    /// True for a ray whose hit belongs to the sample: an eye ray, or a transparency ray from the surface
    /// that is being shaded.
    [[nodiscard]] bool follows(const miState& state) const;

    /// The hit of a ray that is followed is about to be shaded.
    void open(const miState& state);
    /// It has been shaded, or nothing was hit.
    /// @param surface its weight and colour are filled in
    /// @param result alpha included
    void close(SeenSurface surface, const miColor& result);
    /// The ray has come back to the surface before it.
    /// @param delivered false: its result is not used
    void returnRay(const miColor& result, bool delivered);
    /// The innermost surface's opacity; others' are ignored.
    void setOpacity(const miState& state, const miColor& opacity);
    /// Null where the state is not that of the innermost surface.
    [[nodiscard]] const miColor* opacityOf(const miState& state) const;

    /// The rasterizer has shaded a layer: what was seen since the layer before it is behind all layers
    /// before.
    /// @param transmitted by these
    void endLayer(const miColor& transmitted);
    /// Instead of rasterizing layers: those that another sample has seen, as they were after its last
    /// endLayer().
    void takeLayers(std::span<const SeenSurface> surfaces);
    /// The sample is done.
    /// @param color of the sample; what surfaces do not account for, as light of volumes, goes to the nearest
    void end(const miColor& color);

    /// Of the sample that has ended.
    [[nodiscard]] std::span<const SeenSurface> surfaces() const { return surfaces_; }

private:
    /// A surface whose shader is running; the first stands for the camera.
    struct Open {
        const miState* state;
        std::size_t first;   // of the surfaces behind it
        std::size_t lastRay; // the same, of the ray on its way
        int rays;            // that have come back
        miColor behind;      // sum of what they brought
        bool isOpacitySet;
        miColor opacity;
    };
    void scale(std::size_t first, const miColor& transmission);

    std::vector<Open> open_;
    std::vector<SeenSurface> surfaces_;
    std::size_t layer_ = 0;
};

} // namespace orca::render

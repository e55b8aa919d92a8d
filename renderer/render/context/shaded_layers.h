// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/render_context.h"
#include "render/context/seen_surfaces.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orca::render {

/// The side of a surface that an eye ray meets first.
struct RayEnd {
    std::uint32_t meshInstance;
    miTag material;
    bool isBack; ///< the side from which the modelled normal points away
    miVector normal;

    /// True where one shading serves both.
    [[nodiscard]] bool looksLike(const RayEnd& other) const;
};

/// What the rasterizer has shaded for several visibility samples of a pixel: each surface is shaded for the
/// first sample that sees it, and the other samples take that. The background and visible lights are shaded
/// for each. A layer is known by all that is in front of it, since the values of frame buffers may depend on
/// what earlier layers have put there. One pixel of one thread at a time.
class ShadedLayers {
public:
    /// A layer that was shaded, with those in front of it.
    struct Layer {
        miColor color;            ///< composited
        miColor transmitted;      ///< by all of them
        std::vector<float> words; ///< `RenderContext::sampleWords`
        std::vector<SeenSurface> seen;
        PrimaryHit primary;
        bool isLast; ///< nothing behind it is seen
    };
    using Place = std::size_t;
    static constexpr Place none = static_cast<Place>(-1);

    /// Forgets all layers.
    /// @param sample index that the random decisions of the shadings to come are made with
    void begin(std::uint32_t sample);
    [[nodiscard]] std::uint32_t sample() const { return sample_; }

    /// The layer behind `front` (none: the first) that ends the same; none where it has not been shaded.
    [[nodiscard]] Place find(Place front, const RayEnd& end) const;
    [[nodiscard]] const Layer& operator[](Place place) const { return layers_[place].layer; }
    /// A new layer, to be filled in; what it held before is undefined.
    Layer& add(Place front, const RayEnd& end);
    /// Place of the one last added.
    [[nodiscard]] Place last() const { return count_ - 1; }

    /// From now on eye rays are not shaded but noted.
    void beginLook();
    [[nodiscard]] bool isLooking() const { return looking_; }
    /// @param state of a ray that has been traced
    void note(const miState& state);
    /// What was noted, if lens shaders have cast one ray and no more, and it met a surface.
    [[nodiscard]] std::optional<RayEnd> endLook();

private:
    struct Entry {
        Place front;
        RayEnd end;
        Layer layer;
    };
    std::vector<Entry> layers_; // the first count_; the others keep their memory
    std::size_t count_ = 0;
    std::uint32_t sample_ = 0;
    bool looking_ = false;
    int rays_ = 0;
    RayEnd noted_{};
};

} // namespace orca::render

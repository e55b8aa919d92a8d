// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/instructions.h"
#include "image/sample_blocks.h"
#include "render/checkpoint/checkpoint_settings.h"
#include "render/denoise/denoise_settings.h"
#include "render/ray_meter.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>

namespace orca::scene {
struct TextureElement;
}

namespace orca::render {

/// What the time goes to before a picture's files are written.
enum class RenderPhase {
    Prepare,   ///< geometry, displacement, shadow maps; nothing that a checkpoint could keep
    LightMaps, ///< of materials, made before the picture; a checkpoint keeps none of them
    Gather,    ///< the prepass of indirect light
    Render,
    Contours, ///< lines to draw on the finished picture are traced; a checkpoint keeps none of them
    Denoise   ///< noise is filtered out of the finished picture
};

struct RenderProgress {
    RenderPhase phase = RenderPhase::Prepare;
    double share = 0.0;        ///< of the phase's work, 0 to 1; 0 all through Prepare
    std::uint64_t samples = 0; ///< eye samples of this process so far
};
/// Called when a phase begins and while it goes on, from one thread at a time.
using ProgressCallback = std::function<void(const RenderProgress&)>;

/// How a picture is rendered; but for `instructions` and `denoise`, nothing here changes its pixels.
struct RenderSettings {
    int threads = 0;                         ///< 0: all processors
    const std::atomic<bool>* stop = nullptr; ///< set by a signal; the render ends soon after
    ProgressCallback progress;               ///< may be empty
    std::optional<CheckpointSettings> checkpoint;
    RayMeter* rays = nullptr; ///< counts the rays while they are cast; null: nothing does
    geometry::Instructions instructions = geometry::Instructions::OfThisProcessor;
    /// Only these samples of each pixel, where all take the same number; the film keeps the sums of their
    /// blocks.
    std::optional<image::SampleRange> sampleRange{};
    bool deep = false;                        ///< also keep what each pixel sees by depth
    std::optional<DenoiseSettings> denoise{}; ///< of the finished picture, its window alone
    /// Called for each light map as soon as it is complete; may be empty.
    std::function<void(const scene::TextureElement&)> lightMapDone{};
};

} // namespace orca::render

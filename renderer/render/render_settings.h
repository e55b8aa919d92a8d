// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/instructions.h"
#include "image/sample_blocks.h"
#include "render/checkpoint/checkpoint_settings.h"
#include "render/ray_meter.h"

#include <atomic>
#include <functional>
#include <optional>

namespace orca::render {

/// How a picture is rendered; but for `instructions`, nothing here changes its pixels.
struct RenderSettings {
    int threads = 0;                            ///< 0: all processors
    const std::atomic<bool>* stop = nullptr;    ///< set by a signal; the render ends soon after
    std::function<void(double share)> progress; ///< called from one thread at a time, 0 to 1
    std::optional<CheckpointSettings> checkpoint;
    RayMeter* rays = nullptr; ///< counts the rays while they are cast; null: nothing does
    geometry::Instructions instructions = geometry::Instructions::OfThisProcessor;
    /// Only these samples of each pixel, where all take the same number; the film keeps the sums of their
    /// blocks.
    std::optional<image::SampleRange> sampleRange{};
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "render/picture.h"
#include "render/sampling/sampled_area.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orca::app {

/// A picture's size, window, sampling, sample range and frame buffers as JSON: what its checkpoint needs to
/// be shown without the scene.
[[nodiscard]] std::string describePicture(const render::Picture& picture,
                                          const std::optional<image::SampleRange>& samples, int frame);

/// A picture read from such a description.
class DescribedPicture {
public:
    /// Throws CheckpointFault for text that is no description.
    DescribedPicture(const std::string& json, Log& log);

    [[nodiscard]] const image::FramebufferSet& framebuffers() const { return framebuffers_; }
    [[nodiscard]] const render::PixelWindow& window() const { return window_; }
    [[nodiscard]] const std::vector<render::SampledArea>& areas() const { return areas_; }
    [[nodiscard]] int tileSize() const { return tileSize_; }
    /// Of samples, whose sums are kept apart.
    [[nodiscard]] std::size_t blocks() const { return blocks_; }
    [[nodiscard]] const image::PictureFrame& frame() const { return frame_; }

private:
    struct Fields;
    DescribedPicture(Fields fields, Log& log);

    render::PixelWindow window_;
    std::vector<render::SampledArea> areas_;
    int tileSize_;
    std::size_t blocks_;
    image::PictureFrame frame_;
    image::FramebufferSet framebuffers_;
};

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/picture_file.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace orca::image {

/// One deep sample of a pixel.
struct DeepSample {
    float front, back; ///< depth along the view axis, scene units
    float alpha;       ///< of the sample by itself, 0 to 1
    float color[3];    ///< of the sample by itself, times alpha
};

/// The deep samples of all pixels of a window, rows bottom up, from front to back.
struct DeepPicture {
    std::vector<DeepSample> samples;
    std::vector<std::size_t> ends; ///< of each pixel's samples

    [[nodiscard]] std::span<const DeepSample> of(std::size_t pixel) const {
        const std::size_t begin = pixel == 0 ? 0 : ends[pixel - 1];
        return {samples.data() + begin, ends[pixel] - begin};
    }
};

/// Writes a deep OpenEXR of rows with the float channels R G B A Z ZBack over the frame's window. Written to
/// a temporary name and moved into place. False with a message when it cannot be written.
bool writeDeepExr(const std::string& path, const PictureFrame& frame, const DeepPicture& picture, Log& log);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/shader_image.h"
#include "render/context/frame.h"
#include "render/contour/contour_sample.h"
#include "render/frame_result.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace orca::render {

/// Frame buffers of a finished picture, as output shaders open them.
class OutputImages {
public:
    OutputImages(FrameResult& result, Log& log) : result_(result), log_(log) {}

    /// The shaders of this statement are called next.
    void begin(const image::OutputShaders& statement) { statement_ = &statement; }
    /// As `mi_output_image_open`. @param shader for the message, where there is no such buffer
    miImg_image* open(int type, const std::string& shader);
    /// False for a buffer that is not open.
    bool close(int type);
    /// Warns of what the shader has not closed, and closes it.
    void closeAll(const std::string& shader);
    /// Marks the buffers that have been opened as written.
    void mark(std::vector<std::uint8_t>& written) const;

private:
    struct Opened {
        miImg_image image;
        int count = 0;
    };
    /// 0 for none.
    [[nodiscard]] std::size_t bufferOf(int type) const;

    FrameResult& result_;
    Log& log_;
    const image::OutputShaders* statement_ = nullptr;
    std::map<std::size_t, Opened> images_; // by buffer
};

/// Runs the output shaders of a finished picture, in the order of their statements, and keeps what files in
/// between show. Buffers that they open are marked as written. False when the render was stopped.
/// @param contours for those that ask for contour lines
bool runOutputShaders(const Frame& frame, FrameResult& result, std::span<const ContourSegment> contours,
                      std::vector<std::uint8_t>& written);

} // namespace orca::render

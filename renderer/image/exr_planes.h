// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/exr_file.h"

#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>

#include <cstddef>
#include <span>
#include <vector>

namespace orca::image {

/// A part's header, over the frame's window.
[[nodiscard]] Imf::Header headerOf(const PictureFrame& frame, const ExrPart& part, const ExrTiles& tiles);

[[nodiscard]] Imf::PixelType pixelTypeOf(ExrChannel::Storage storage);

/// Pixels of one channel, rows top down as EXR counts them.
struct Plane {
    std::size_t width, height;
    std::size_t pixelSize; ///< bytes
    std::vector<char> bytes;

    Plane(ExrChannel::Storage storage, std::size_t columns, std::size_t rows);
    /// Takes `count` pixels of the layer's row, counted from below, from column `first` on.
    void fill(const ExrChannel& channel, std::size_t row, std::size_t first, std::size_t count);
};

/// The plane at half its width and height, rounded down, at least one pixel: means of the pixels that each
/// covers, or one of them where the layer's values are no means.
[[nodiscard]] Plane halved(const Plane& plane, const ExrChannel& channel);

/// Planes of some parts over the frame's window, by part and channel. They are incomplete when the frame was
/// stopped meanwhile.
[[nodiscard]] std::vector<std::vector<Plane>> planesOf(std::span<const ExrPart> parts,
                                                       const PictureFrame& frame);

/// Planes of a part's channels as the library's frame buffer.
/// @param left,top of the data window
[[nodiscard]] Imf::FrameBuffer slicesOf(const ExrPart& part, std::vector<Plane>& planes, int left, int top);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <memory>
#include <string>

namespace orca::image {

/// An image file that is read whole, values as the file has them.
class ImageReader {
public:
    virtual ~ImageReader() = default;

    [[nodiscard]] virtual int width() const = 0;
    [[nodiscard]] virtual int height() const = 0;
    [[nodiscard]] virtual miImg_type type() const = 0;
    /// Fills an image of the file's size: colours (grey ones from one channel, alpha 1 where there is none),
    /// vectors, or the first channel. Throws std::runtime_error when the file is damaged, or the image has
    /// another size.
    virtual void read(const miImg_image& image) = 0;
};

/// Throws std::runtime_error with the reason when the file cannot be read.
[[nodiscard]] std::unique_ptr<ImageReader> openImage(const std::string& path);

} // namespace orca::image

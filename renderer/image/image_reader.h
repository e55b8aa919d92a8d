// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <memory>
#include <string>

namespace orca::image {

/// An image file that is read whole, values as the file has them.
class ImageReader {
public:
    /// Throws std::runtime_error with the reason when the file cannot be read.
    explicit ImageReader(const std::string& path);
    ~ImageReader();
    ImageReader(const ImageReader&) = delete;
    ImageReader& operator=(const ImageReader&) = delete;

    [[nodiscard]] int width() const;
    [[nodiscard]] int height() const;
    [[nodiscard]] miImg_type type() const;
    /// Fills an image of the file's size: colours (grey ones from one channel, alpha 1 where there is none),
    /// vectors, or the first channel. Throws std::runtime_error when the file is damaged, or the image has
    /// another size.
    void read(const miImg_image& image);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::image

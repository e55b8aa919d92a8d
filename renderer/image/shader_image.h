// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <vector>

/// Pixels that shaders read and write: those of a finished frame buffer, or an image file's.
struct miImg_image {
    int width = 0, height = 0;
    int xl = 0, yl = 0, xh = -1, yh = -1; ///< pixels that there are, inclusive
    miImg_type type = miIMG_TYPE_INVALID;
    int components = 0;     ///< 32-bit words of a value
    float* first = nullptr; ///< of the lower left pixel that there is
    std::size_t stride = 0; ///< words from a pixel to the next
    std::vector<float> own; ///< of a file; empty for a frame buffer

    /// Null for a pixel that there is not.
    [[nodiscard]] float* at(int x, int y) const {
        if (x < xl || x > xh || y < yl || y > yh) return nullptr;
        const auto row = static_cast<std::size_t>(y - yl) * static_cast<std::size_t>(xh - xl + 1);
        return first + (row + static_cast<std::size_t>(x - xl)) * stride;
    }
};

namespace orca::image {

/// A black image of the given size; of colours, vectors or numbers by its type. Throws std::bad_alloc.
[[nodiscard]] miImg_image blankImage(miImg_type type, int width, int height);

// Values as in mi/image.h. False, and nothing done, where the image has no such pixel or cannot hold the
// value.
[[nodiscard]] bool read(const miImg_image& image, int x, int y, miColor& color) noexcept;
[[nodiscard]] bool read(const miImg_image& image, int x, int y, miVector& vector) noexcept;
[[nodiscard]] bool read(const miImg_image& image, int x, int y, miScalar& scalar) noexcept;
[[nodiscard]] bool read(const miImg_image& image, int x, int y, miUint& label) noexcept;
[[nodiscard]] bool write(const miImg_image& image, int x, int y, const miColor& color) noexcept;
[[nodiscard]] bool write(const miImg_image& image, int x, int y, const miVector& vector) noexcept;
[[nodiscard]] bool write(const miImg_image& image, int x, int y, miScalar scalar) noexcept;
[[nodiscard]] bool write(const miImg_image& image, int x, int y, miUint label) noexcept;

} // namespace orca::image

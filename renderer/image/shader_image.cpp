// SPDX-License-Identifier: Apache-2.0
#include "image/shader_image.h"

#include "image/image_types.h"

#include <cstring>

namespace orca::image {

namespace {

/// The words of a value that is no label.
float* numbersAt(const miImg_image& image, int x, int y) noexcept {
    return image.type == miIMG_TYPE_TAG ? nullptr : image.at(x, y);
}

float meanOf(const float* color) {
    return (color[0] + color[1] + color[2]) * (1.0f / 3.0f);
}

} // namespace

miImg_image blankImage(miImg_type type, int width, int height) {
    miImg_image image;
    image.width = width;
    image.height = height;
    image.xh = width - 1;
    image.yh = height - 1;
    image.type = type;
    image.components = componentCount(type);
    image.stride = static_cast<std::size_t>(image.components);
    image.own.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * image.stride);
    image.first = image.own.data();
    return image;
}

bool read(const miImg_image& image, int x, int y, miColor& color) noexcept {
    const float* const words = numbersAt(image, x, y);
    if (!words) return false;
    if (image.components == 4) color = {words[0], words[1], words[2], words[3]};
    else if (image.components == 3) color = {words[0], words[1], words[2], 1.0f};
    else color = {words[0], words[0], words[0], 1.0f};
    return true;
}

bool read(const miImg_image& image, int x, int y, miVector& vector) noexcept {
    const float* const words = numbersAt(image, x, y);
    if (!words || image.components < 3) return false;
    vector = {words[0], words[1], words[2]};
    return true;
}

bool read(const miImg_image& image, int x, int y, miScalar& scalar) noexcept {
    const float* const words = numbersAt(image, x, y);
    if (!words || image.components == 3) return false;
    scalar = image.components == 4 ? meanOf(words) : words[0];
    return true;
}

bool read(const miImg_image& image, int x, int y, miUint& label) noexcept {
    const float* const words = image.type == miIMG_TYPE_TAG ? image.at(x, y) : nullptr;
    if (words) std::memcpy(&label, words, sizeof label);
    return words != nullptr;
}

bool write(const miImg_image& image, int x, int y, const miColor& color) noexcept {
    float* const words = numbersAt(image, x, y);
    if (!words) return false;
    const float values[] = {color.r, color.g, color.b, color.a};
    if (image.components == 1) words[0] = meanOf(values);
    else std::memcpy(words, values, static_cast<std::size_t>(image.components) * sizeof(float));
    return true;
}

bool write(const miImg_image& image, int x, int y, const miVector& vector) noexcept {
    float* const words = numbersAt(image, x, y);
    if (!words || image.components < 3) return false;
    words[0] = vector.x;
    words[1] = vector.y;
    words[2] = vector.z;
    return true;
}

bool write(const miImg_image& image, int x, int y, miScalar scalar) noexcept {
    float* const words = numbersAt(image, x, y);
    if (!words || image.components == 3) return false;
    words[0] = scalar;
    if (image.components == 4) {
        words[1] = words[2] = scalar;
        words[3] = 1.0f;
    }
    return true;
}

bool write(const miImg_image& image, int x, int y, miUint label) noexcept {
    float* const words = image.type == miIMG_TYPE_TAG ? image.at(x, y) : nullptr;
    if (words) std::memcpy(words, &label, sizeof label);
    return words != nullptr;
}

} // namespace orca::image

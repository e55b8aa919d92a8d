// SPDX-License-Identifier: Apache-2.0
#include "image/image_reader.h"

#include "image/incomplete_image.h"
#include "image/shader_image.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace orca::image {

struct ImageReader::Implementation {
    std::string path;
    std::unique_ptr<OIIO::ImageInput> input;
    OIIO::ImageSpec spec;
};

ImageReader::ImageReader(const std::string& path) : implementation_(std::make_unique<Implementation>()) {
    implementation_->path = path;
    implementation_->input = OIIO::ImageInput::open(path);
    if (!implementation_->input) throw std::runtime_error(OIIO::geterror());
    implementation_->spec = implementation_->input->spec();
    if (implementation_->spec.deep) throw std::runtime_error("deep images cannot be read");
}

ImageReader::~ImageReader() = default;

int ImageReader::width() const {
    return implementation_->spec.width;
}

int ImageReader::height() const {
    return implementation_->spec.height;
}

miImg_type ImageReader::type() const {
    const OIIO::ImageSpec& spec = implementation_->spec;
    std::size_t precision = spec.format.size() == 1 ? 0 : spec.format.size() == 2 ? 1 : 3;
    if (spec.format == OIIO::TypeDesc::HALF) precision = 2;
    constexpr miImg_type numbers[] = {miIMG_TYPE_S, miIMG_TYPE_S_16, miIMG_TYPE_S_FP, miIMG_TYPE_S_FP};
    constexpr miImg_type opaque[] = {miIMG_TYPE_RGB, miIMG_TYPE_RGB_16, miIMG_TYPE_RGB_H, miIMG_TYPE_RGB_FP};
    constexpr miImg_type colors[] = {miIMG_TYPE_RGBA, miIMG_TYPE_RGBA_16, miIMG_TYPE_RGBA_H,
                                     miIMG_TYPE_RGBA_FP};
    if (spec.nchannels < 3) return numbers[precision];
    return spec.nchannels == 3 ? opaque[precision] : colors[precision];
}

void ImageReader::read(const miImg_image& image) {
    const OIIO::ImageSpec& spec = implementation_->spec;
    if (image.width != spec.width || image.height != spec.height || image.type == miIMG_TYPE_TAG)
        throw std::runtime_error("the image is not one for the pixels of this file");
    if (const std::string missing = whatIsMissing(implementation_->path); !missing.empty())
        throw std::runtime_error(missing);
    const auto channels = static_cast<std::size_t>(spec.nchannels);
    std::vector<float> pixels(static_cast<std::size_t>(spec.width) * static_cast<std::size_t>(spec.height) *
                              channels);
    if (!implementation_->input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, pixels.data()))
        throw std::runtime_error(implementation_->input->geterror());
    for (int y = 0; y < spec.height; ++y)
        for (int x = 0; x < spec.width; ++x) {
            // Files have their rows top down.
            const std::size_t index =
                static_cast<std::size_t>(spec.height - 1 - y) * static_cast<std::size_t>(spec.width) +
                static_cast<std::size_t>(x);
            const float* const from = pixels.data() + index * channels;
            float* const to = image.at(x, y);
            const bool isGrey = channels < 3;
            for (std::size_t c = 0; c < static_cast<std::size_t>(std::min(image.components, 3)); ++c)
                to[c] = from[isGrey ? 0 : c];
            if (image.components < 4) continue;
            const bool hasAlpha = channels == 2 || channels > 3;
            to[3] = hasAlpha ? from[isGrey ? 1 : 3] : 1.0f;
        }
}

} // namespace orca::image

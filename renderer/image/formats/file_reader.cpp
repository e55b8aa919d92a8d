// SPDX-License-Identifier: Apache-2.0
#include "image/formats/incomplete_image.h"
#include "image/formats/library_formats.h"
#include "image/shader_image.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace orca::image {

namespace {

class FileReader final : public ImageReader {
public:
    explicit FileReader(const std::string& path) : path_(path), input_(OIIO::ImageInput::open(path)) {
        if (!input_) throw std::runtime_error(OIIO::geterror());
        spec_ = input_->spec();
        if (spec_.deep) throw std::runtime_error("deep images cannot be read");
    }
    int width() const override { return spec_.width; }
    int height() const override { return spec_.height; }
    miImg_type type() const override;
    void read(const miImg_image& image) override;

private:
    std::string path_;
    std::unique_ptr<OIIO::ImageInput> input_;
    OIIO::ImageSpec spec_;
};

miImg_type FileReader::type() const {
    std::size_t precision = spec_.format.size() == 1 ? 0 : spec_.format.size() == 2 ? 1 : 3;
    if (spec_.format == OIIO::TypeDesc::HALF) precision = 2;
    constexpr miImg_type numbers[] = {miIMG_TYPE_S, miIMG_TYPE_S_16, miIMG_TYPE_S_FP, miIMG_TYPE_S_FP};
    constexpr miImg_type opaque[] = {miIMG_TYPE_RGB, miIMG_TYPE_RGB_16, miIMG_TYPE_RGB_H, miIMG_TYPE_RGB_FP};
    constexpr miImg_type colors[] = {miIMG_TYPE_RGBA, miIMG_TYPE_RGBA_16, miIMG_TYPE_RGBA_H,
                                     miIMG_TYPE_RGBA_FP};
    if (spec_.nchannels < 3) return numbers[precision];
    return spec_.nchannels == 3 ? opaque[precision] : colors[precision];
}

void FileReader::read(const miImg_image& image) {
    if (image.width != spec_.width || image.height != spec_.height || image.type == miIMG_TYPE_TAG)
        throw std::runtime_error("the image is not one for the pixels of this file");
    if (const std::string missing = whatIsMissing(path_); !missing.empty()) throw std::runtime_error(missing);
    const auto channels = static_cast<std::size_t>(spec_.nchannels);
    std::vector<float> pixels(static_cast<std::size_t>(spec_.width) * static_cast<std::size_t>(spec_.height) *
                              channels);
    if (!input_->read_image(0, 0, 0, spec_.nchannels, OIIO::TypeDesc::FLOAT, pixels.data()))
        throw std::runtime_error(input_->geterror());
    for (int y = 0; y < spec_.height; ++y)
        for (int x = 0; x < spec_.width; ++x) {
            // Files have their rows top down.
            const std::size_t index =
                static_cast<std::size_t>(spec_.height - 1 - y) * static_cast<std::size_t>(spec_.width) +
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

} // namespace

std::unique_ptr<ImageReader> LibraryFormats::openImage(const std::string& path) {
    return std::make_unique<FileReader>(path);
}

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#include "image/formats/cached_image.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace orca::image {

namespace {

// What the cache hands from `add_file` to `open`.
constexpr const char* pixelsAttribute = "orca:pixels";
constexpr const char* fileAttribute = "orca:file";
constexpr const char* profileAttribute = "orca:profile";
constexpr const char* spacesAttribute = "orca:spaces";
constexpr const char* spaceAttribute = "orca:space";

class PixelsInput final : public OIIO::ImageInput {
public:
    const char* format_name() const override { return "orca-pixels"; }
    bool open(const std::string&, OIIO::ImageSpec&) override { return false; }
    bool open(const std::string&, OIIO::ImageSpec& spec, const OIIO::ImageSpec& config) override {
        const auto* given = config.find_attribute(pixelsAttribute, OIIO::TypeDesc::PTR);
        if (!given) return false;
        std::memcpy(&pixels_, given->data(), sizeof pixels_);
        m_spec = OIIO::ImageSpec(pixels_->width(), pixels_->height(), 4, OIIO::TypeDesc::FLOAT);
        m_spec.attribute(colorsApartFromAlpha, 1);
        spec = m_spec;
        return true;
    }
    bool close() override { return true; }
    bool read_native_scanline(int subimage, int mipLevel, int y, int, void* data) override {
        if (subimage != 0 || mipLevel != 0 || y < 0 || y >= pixels_->height()) return false;
        std::memcpy(data, pixels_->row(pixels_->height() - 1 - y),
                    sizeof(miColor) * static_cast<std::size_t>(pixels_->width()));
        return true;
    }

private:
    const InlinePixels* pixels_ = nullptr;
};

/// Reads another file and converts what it reads.
class ConvertedInput final : public OIIO::ImageInput {
public:
    const char* format_name() const override { return "orca-converted"; }
    bool open(const std::string&, OIIO::ImageSpec&) override { return false; }
    bool open(const std::string&, OIIO::ImageSpec& spec, const OIIO::ImageSpec& config) override {
        profile_ = static_cast<scene::ColorProfile>(config.get_int_attribute(profileAttribute));
        if (const auto* given = config.find_attribute(spacesAttribute, OIIO::TypeDesc::PTR))
            std::memcpy(&spaces_, given->data(), sizeof spaces_);
        space_ = std::string(config.get_string_attribute(spaceAttribute));
        OIIO::ImageSpec asStored;
        asStored.attribute(colorsApartFromAlpha, 1);
        file_ = OIIO::ImageInput::open(std::string(config.get_string_attribute(fileAttribute)), &asStored);
        if (!file_) {
            errorfmt("{}", OIIO::geterror());
            return false;
        }
        for (std::size_t i = 0; i < ofByte_.size(); ++i)
            ofByte_[i] = scene::linearFrom(profile_, static_cast<float>(i) / 255.0f);
        takeSpec();
        spec = m_spec;
        return true;
    }
    bool close() override { return !file_ || file_->close(); }
    int current_subimage() const override { return file_->current_subimage(); }
    int current_miplevel() const override { return file_->current_miplevel(); }
    bool seek_subimage(int subimage, int mipLevel) override {
        if (!file_->seek_subimage(subimage, mipLevel)) return false;
        takeSpec();
        return true;
    }
    bool read_native_scanline(int subimage, int mipLevel, int y, int z, void* data) override {
        if (!seek_subimage(subimage, mipLevel)) return false;
        const auto count = static_cast<std::size_t>(m_spec.width);
        return read(count, data, [&](OIIO::TypeDesc type, void* values) {
            return file_->read_scanline(y, z, type, values);
        });
    }
    bool read_native_tile(int subimage, int mipLevel, int x, int y, int z, void* data) override {
        if (!seek_subimage(subimage, mipLevel)) return false;
        const auto count = static_cast<std::size_t>(m_spec.tile_width) *
                           static_cast<std::size_t>(m_spec.tile_height) *
                           static_cast<std::size_t>(std::max(1, m_spec.tile_depth));
        return read(count, data, [&](OIIO::TypeDesc type, void* values) {
            return file_->read_tile(x, y, z, type, values);
        });
    }

private:
    void takeSpec() {
        m_spec = file_->spec();
        multiplied_ = m_spec.alpha_channel >= 0 && m_spec.get_int_attribute(colorsApartFromAlpha) == 0;
        bytes_ = m_spec.format == OIIO::TypeDesc::UINT8 && !multiplied_ && !spaces_;
        m_spec.set_format(OIIO::TypeDesc::FLOAT);
        // Grey and colour come first; whatever follows, alpha above all, has no curve.
        colorChannels_ = std::min(m_spec.nchannels < 3 ? 1 : 3, m_spec.nchannels);
    }

    template <class Read>
    bool read(std::size_t pixels, void* data, const Read& readValues) {
        const auto channels = static_cast<std::size_t>(m_spec.nchannels);
        auto* out = static_cast<float*>(data);
        if (bytes_) {
            raw_.resize(pixels * channels);
            if (!readValues(OIIO::TypeDesc::UINT8, raw_.data())) return failed();
            for (std::size_t i = 0; i < raw_.size(); ++i)
                out[i] = static_cast<int>(i % channels) < colorChannels_
                             ? ofByte_[raw_[i]]
                             : static_cast<float>(raw_[i]) / 255.0f;
        } else {
            if (!readValues(OIIO::TypeDesc::FLOAT, out)) return failed();
            if (spaces_) convertSpace(out, pixels, channels);
            else
                for (float* pixel = out; pixel < out + pixels * channels; pixel += channels) {
                    // The curve is that of the colours themselves.
                    const float alpha = multiplied_ ? pixel[m_spec.alpha_channel] : 1.0f;
                    const float weight = alpha > 0.0f ? alpha : 1.0f;
                    for (int c = 0; c < colorChannels_; ++c)
                        pixel[c] = weight * scene::linearFrom(profile_, pixel[c] / weight);
                }
        }
        return true;
    }
    /// Grey is a colour of three equal channels, whose mean it becomes.
    void convertSpace(float* values, std::size_t pixels, std::size_t channels) {
        colors_.resize(3 * pixels);
        const auto each = [&](const auto& visit) {
            float* color = colors_.data();
            for (float* pixel = values; pixel < values + pixels * channels; pixel += channels, color += 3) {
                // The space is that of the colours themselves.
                const float alpha = multiplied_ ? pixel[m_spec.alpha_channel] : 1.0f;
                visit(pixel, color, alpha > 0.0f ? alpha : 1.0f);
            }
        };
        each([&](const float* pixel, float* color, float weight) {
            for (int c = 0; c < 3; ++c) color[c] = pixel[std::min(c, colorChannels_ - 1)] / weight;
        });
        spaces_->makeLinear(space_, colors_.data(), pixels);
        each([&](float* pixel, const float* color, float weight) {
            if (colorChannels_ < 3) pixel[0] = weight * (color[0] + color[1] + color[2]) / 3.0f;
            for (int c = 0; c < colorChannels_ && colorChannels_ == 3; ++c) pixel[c] = weight * color[c];
        });
    }
    bool failed() {
        errorfmt("{}", file_->geterror());
        return false;
    }

    std::unique_ptr<OIIO::ImageInput> file_;
    scene::ColorProfile profile_ = scene::ColorProfile::Linear;
    const scene::ColorSpaces* spaces_ = nullptr; ///< null: the profile counts
    std::string space_;
    std::vector<float> colors_;
    bool multiplied_ = false; ///< the file's colours are multiplied by its alpha
    bool bytes_ = false;      ///< its values are bytes, which are looked up in a table
    int colorChannels_ = 0;
    std::array<float, 256> ofByte_{};
    std::vector<unsigned char> raw_;
};

template <class Input>
OIIO::ImageInput* create() {
    return new Input;
}

} // namespace

bool addPixels(OIIO::ImageCache& cache, OIIO::ustring name, const InlinePixels& pixels) {
    OIIO::ImageSpec config;
    const InlinePixels* address = &pixels;
    config.attribute(pixelsAttribute, OIIO::TypeDesc::PTR, &address);
    return cache.add_file(name, create<PixelsInput>, &config);
}

bool addConvertedFile(OIIO::ImageCache& cache, OIIO::ustring name, const std::string& file,
                      const ColorMeaning& meaning) {
    OIIO::ImageSpec config;
    config.attribute(fileAttribute, file);
    config.attribute(profileAttribute, static_cast<int>(meaning.profile));
    if (meaning.spaces) {
        config.attribute(spacesAttribute, OIIO::TypeDesc::PTR, &meaning.spaces);
        config.attribute(spaceAttribute, meaning.space);
    }
    return cache.add_file(name, create<ConvertedInput>, &config);
}

} // namespace orca::image

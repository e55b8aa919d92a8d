// SPDX-License-Identifier: Apache-2.0
#include "image/formats/library_formats.h"

#include "image/cryptomatte.h"
#include "image/exr_file.h"
#include "image/file_in_place.h"
#include "image/image_types.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orca::image {

namespace {

/// Pixels of the whole picture without overscan, rows top down.
struct Raster {
    int width, height, channels;
    std::vector<float> values;

    Raster(const PictureFrame& frame, int channelCount)
        : width(frame.width),
          height(frame.height),
          channels(channelCount),
          values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                 static_cast<std::size_t>(channelCount)) {}
    float* pixel(int x, int y) {
        return values.data() + (static_cast<std::size_t>(height - 1 - y) * static_cast<std::size_t>(width) +
                                static_cast<std::size_t>(x)) *
                                   static_cast<std::size_t>(channels);
    }
};

/// Adds a text or a number; matrices are for the layered file.
void addTo(OIIO::ImageSpec& spec, const std::string& key, const MetadataValue& value) {
    if (const auto* const text = std::get_if<std::string>(&value)) spec[key] = *text;
    else if (const auto* const whole = std::get_if<int>(&value)) spec[key] = *whole;
    else if (const auto* const number = std::get_if<float>(&value)) spec[key] = *number;
}

/// Calls write(pixel of the raster, the layer's components) for every pixel of the window but overscan.
template <class Write>
Raster rasterOf(const PictureFrame& frame, const Layer& layer, int channels, Write write) {
    Raster raster(frame, channels);
    const float* from = layer.pixels.data();
    for (int y = frame.window.yl; y <= frame.window.yh; ++y)
        for (int x = frame.window.xl; x <= frame.window.xh; ++x, from += layer.stride())
            if (x >= 0 && x < frame.width && y >= 0 && y < frame.height) write(raster.pixel(x, y), from);
    return raster;
}

Raster rasterOf(const PictureFrame& frame, const Layer& layer, int channels) {
    const int components = std::min(channels, layer.buffer->components);
    return rasterOf(frame, layer, channels,
                    [=](float* to, const float* from) { std::copy_n(from, components, to); });
}

/// Of a layer of colours, 3 or 4 channels.
Raster encodedRasterOf(const PictureFrame& frame, const Layer& layer, int channels,
                       const ColorEncoding& encoding) {
    return rasterOf(frame, layer, channels, [&](float* to, const float* from) {
        const miColor color = encoded({from[0], from[1], from[2], from[3]}, encoding, channels == 4);
        std::copy_n(&color.r, channels, to);
    });
}

/// Of a layer of ids: a colour for each, mixed by their weights.
Raster falseColorRasterOf(const PictureFrame& frame, const Layer& layer) {
    return rasterOf(frame, layer, 3, [](float* to, const float* from) {
        for (const float* pair : {from, from + 2}) {
            const miColor color = falseColor(pair[0]);
            const float weight = pair[0] == 0.0f ? 0.0f : pair[1];
            to[0] += weight * color.r;
            to[1] += weight * color.g;
            to[2] += weight * color.b;
        }
    });
}

/// Of a layer of colours, 3 or 4 channels, as the frame's display shows them, or else encoded. Colours
/// without alpha are shown as they lie over black.
Raster displayedRasterOf(const PictureFrame& frame, const Layer& layer, int channels,
                         ColorEncoding encoding) {
    const DisplayView& display = frame.display;
    if (!display.configuration) return encodedRasterOf(frame, layer, channels, encoding);
    Raster raster = rasterOf(frame, layer, channels);
    const auto stride = static_cast<std::size_t>(channels);
    const auto eachPixel = [&](const auto& visit) {
        for (std::size_t i = 0; i < raster.values.size(); i += stride) visit(&raster.values[i]);
    };
    const auto weightOf = [channels](const float* pixel) {
        return channels == 4 && pixel[3] > 0.0f ? pixel[3] : 1.0f;
    };
    eachPixel([&](float* pixel) {
        for (int c = 0; c < 3; ++c) pixel[c] = std::isnan(pixel[c]) ? 0.0f : pixel[c] / weightOf(pixel);
    });
    display.configuration->show(display.display, display.view, raster.values.data(),
                                raster.values.size() / stride, stride);
    encoding.gamma = 1.0f;
    eachPixel([&](float* pixel) {
        const float weight = weightOf(pixel);
        const miColor color = encoded(
            {weight * pixel[0], weight * pixel[1], weight * pixel[2], channels == 4 ? pixel[3] : 1.0f},
            encoding, channels == 4);
        std::copy_n(&color.r, channels, pixel);
    });
    return raster;
}

/// Dithers 8-bit files as they are written: noise of at most half a step is added to colours before they are
/// rounded (L. G. Roberts, "Picture Coding Using Pseudo-Random Noise", 1962), the same at every writing.
void requestDither(OIIO::ImageSpec& spec, const ColorEncoding& encoding) {
    if (encoding.dither && spec.format == OIIO::TypeDesc::UINT8) spec["oiio:dither"] = 1;
}

OIIO::TypeDesc fileType(miImg_type type, const std::string& format) {
    const bool holdsFloats = format == "tiff" || format == "hdr";
    switch (storageOf(type)) {
    case Storage::Word: return OIIO::TypeDesc::UINT16;
    case Storage::Half:
    case Storage::Float: return holdsFloats ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT8;
    case Storage::Label: return OIIO::TypeDesc::UINT32;
    case Storage::Byte: break;
    }
    return OIIO::TypeDesc::UINT8;
}

/// A memory file, for libraries that write to a path alone.
class MemoryFile {
public:
    MemoryFile() : descriptor_(::memfd_create("orca-picture", MFD_CLOEXEC)) {
        if (descriptor_ < 0) throw std::runtime_error(std::strerror(errno));
    }
    ~MemoryFile() { ::close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::string path() const { return fmt::format("/proc/self/fd/{}", descriptor_); }
    [[nodiscard]] std::vector<unsigned char> bytes() const {
        struct stat status {};
        rlimit limit{};
        if (::fstat(descriptor_, &status) != 0) throw std::runtime_error(std::strerror(errno));
        // Not every library says when its writes fail.
        if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && static_cast<rlim_t>(status.st_size) >= limit.rlim_cur)
            throw std::runtime_error(std::strerror(EFBIG));
        std::vector<unsigned char> all(static_cast<std::size_t>(status.st_size));
        for (std::size_t done = 0; done < all.size();) {
            const ssize_t got =
                ::pread(descriptor_, all.data() + done, all.size() - done, static_cast<off_t>(done));
            if (got <= 0) throw std::runtime_error(std::strerror(errno));
            done += static_cast<std::size_t>(got);
        }
        return all;
    }

private:
    int descriptor_;
};

void writePixels(OIIO::ImageOutput& output, const Raster& raster, const OIIO::TypeDesc& pixelType,
                 const std::atomic<bool>* stop) {
    const auto demand = [&](bool good) {
        if (!good) throw std::runtime_error(output.geterror());
    };
    if (output.spec().tile_width > 0) return demand(output.write_image(pixelType, raster.values.data()));
    constexpr int pixels = 1 << 20; // between two looks at the stop request
    const int rows = std::max(1, pixels / raster.width);
    const std::size_t rowValues =
        static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.channels);
    for (int y = 0; y < raster.height; y += rows) {
        if (stop && stop->load(std::memory_order_relaxed)) throw std::runtime_error("interrupted");
        demand(output.write_scanlines(y, std::min(y + rows, raster.height), 0, pixelType,
                                      raster.values.data() + static_cast<std::size_t>(y) * rowValues));
    }
}

/// All bytes of a picture file. They are made in memory: some libraries do not say that a disk is full, and
/// one ends the process. `path` is for those that keep a name in the file. Throws std::runtime_error.
std::vector<unsigned char> encodedFile(const std::string& path, const std::string& format,
                                       const OIIO::ImageSpec& spec, const Raster& raster,
                                       const OIIO::TypeDesc& pixelType, const std::atomic<bool>* stop) {
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(format);
    if (!output) throw std::runtime_error(OIIO::geterror());
    std::vector<unsigned char> bytes;
    OIIO::Filesystem::IOVecOutput memory(bytes);
    std::optional<MemoryFile> file;
    if (output->supports("ioproxy")) output->set_ioproxy(&memory);
    else file.emplace();
    if (!output->open(file ? file->path() : path, spec)) throw std::runtime_error(output->geterror());
    writePixels(*output, raster, pixelType, stop);
    if (!output->close()) throw std::runtime_error(output->geterror());
    if (file) bytes = file->bytes();
    if (bytes.empty()) throw std::runtime_error(fmt::format("the image library made no {} file", format));
    return bytes;
}

bool writeRaster(const std::string& path, const std::string& format, const OIIO::ImageSpec& spec,
                 const Raster& raster, const OIIO::TypeDesc& pixelType, const std::atomic<bool>* stop,
                 Log& log) {
    try {
        const std::vector<unsigned char> bytes = encodedFile(path, format, spec, raster, pixelType, stop);
        FileInPlace target(path, stop);
        target.write(bytes.data(), bytes.size());
        target.commit();
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
    log.write(LogLevel::Progress, "IMG", "wrote \"{}\"", path);
    return true;
}

/// Channels that a format takes of those that a buffer has.
int fileChannels(const std::string& format, const Buffer& buffer) {
    const int channels = static_cast<int>(bareChannelNames(buffer).size());
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(format);
    return channels == 4 && output && !output->supports("alpha") ? 3 : channels;
}

/// The display curve of IEC 61966-2-1, of 0..1.
float sRgb(float linear) {
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

/// Depths from here on, and 0, say that nothing is hit.
constexpr float nothingHit = 1e9f;

/// Maps the finite values at which something is hit onto 0..1.
void stretchToRange(Raster& raster) {
    float least = std::numeric_limits<float>::max(), most = std::numeric_limits<float>::lowest();
    for (const float value : raster.values) {
        if (!std::isfinite(value) || value == 0.0f || value >= nothingHit) continue;
        least = std::min(least, value);
        most = std::max(most, value);
    }
    if (most <= 1.0f && least >= 0.0f) return;
    const float extent = most > least ? most - least : 1.0f;
    for (float& value : raster.values)
        value = value == 0.0f ? 0.0f : std::min((value - least) / extent, 1.0f);
}

} // namespace

std::optional<std::string> LibraryFormats::writableFormat(const std::string& extension) {
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create("name." + extension);
    if (output) return output->format_name();
    static_cast<void>(OIIO::geterror()); // clears it
    return {};
}

bool LibraryFormats::writeImageFile(const std::string& path, const std::string& format,
                                    const PictureFrame& frame, const Layer& layer, miImg_type type,
                                    int quality, Log& log) {
    const OIIO::TypeDesc stored = fileType(type, format);
    if (stored == OIIO::TypeDesc::UINT32 && format != "tiff") {
        log.error("IMG",
                  "cannot write \"{}\": frame buffer \"{}\" holds labels, which only exr and tif files "
                  "can hold",
                  path, layer.buffer->name);
        return false;
    }
    if (isCryptomatte(*layer.buffer)) {
        log.error("IMG", "cannot write \"{}\": frame buffer \"{}\" holds ids, which only exr files can hold",
                  path, layer.buffer->name);
        return false;
    }
    const int channels = fileChannels(format, *layer.buffer);
    const bool integers = !stored.is_floating_point() && stored.basetype != OIIO::TypeDesc::UINT32;
    const bool colors = integers && isColor(type) && layer.buffer->components == 4;
    Raster raster =
        colors ? displayedRasterOf(frame, layer, channels, frame.encoding) : rasterOf(frame, layer, channels);
    if (integers && !colors)
        for (float& value : raster.values) value = std::isnan(value) ? 0.0f : std::clamp(value, 0.0f, 1.0f);
    OIIO::ImageSpec spec(raster.width, raster.height, raster.channels, stored);
    if (format == "tiff") spec["compression"] = layer.buffer->compression == "none" ? "none" : "zip";
    if (const int given = quality > 0 ? quality : layer.buffer->quality; given > 0)
        spec["CompressionQuality"] = given;
    if (layer.buffer->dpi > 0) {
        spec["XResolution"] = static_cast<float>(layer.buffer->dpi);
        spec["YResolution"] = static_cast<float>(layer.buffer->dpi);
        spec["ResolutionUnit"] = "in";
    }
    // Formats that hold colours without their alpha divide by it as they write, unless that has been done.
    if (colors && channels == 4 && !frame.encoding.premultiply) spec["oiio:UnassociatedAlpha"] = 1;
    if (colors) requestDither(spec, frame.encoding);
    spec["PixelAspectRatio"] = frame.pixelAspect;
    for (const auto& [key, value] : frame.metadata) addTo(spec, "orca:" + key, value);
    const bool labels = stored == OIIO::TypeDesc::UINT32;
    return writeRaster(path, format, spec, raster, labels ? OIIO::TypeDesc::UINT32 : OIIO::TypeDesc::FLOAT,
                       frame.stop, log);
}

bool LibraryFormats::writePreview(const std::string& path, const std::string& format,
                                  const PictureFrame& frame, const Layer& layer, Log& log) {
    const bool color = isColor(layer.buffer->type);
    ColorEncoding encoding = frame.encoding;
    encoding.clip = scene::ColorClip::Raw; // there is no alpha to keep
    Raster raster = isCryptomatte(*layer.buffer) ? falseColorRasterOf(frame, layer)
                    : color                      ? displayedRasterOf(frame, layer, 3, encoding)
                                                 : rasterOf(frame, layer, layer.buffer->components);
    if (color) {
        if (encoding.gamma == 1.0f && !frame.display.configuration)
            for (float& value : raster.values) value = sRgb(value);
    } else if (raster.channels == 3) {
        for (float& value : raster.values) value = std::clamp(0.5f * value + 0.5f, 0.0f, 1.0f);
    } else {
        if (layer.buffer->type == miIMG_TYPE_TAG) {
            for (float& value : raster.values) {
                std::uint32_t label;
                std::memcpy(&label, &value, sizeof label);
                value = static_cast<float>(label);
            }
        }
        stretchToRange(raster);
    }
    OIIO::ImageSpec spec(raster.width, raster.height, raster.channels, OIIO::TypeDesc::UINT8);
    if (color) requestDither(spec, encoding);
    return writeRaster(path, format, spec, raster, OIIO::TypeDesc::FLOAT, frame.stop, log);
}

} // namespace orca::image

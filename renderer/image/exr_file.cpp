// SPDX-License-Identifier: Apache-2.0
#include "image/exr_file.h"

#include "base/parallel_for.h"
#include "image/exr_header.h"
#include "image/exr_stream.h"
#include "image/file_in_place.h"
#include "image/image_types.h"
#include "image/to_half.h"

#include <ImathMatrix.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMatrixAttribute.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfThreading.h>

#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

namespace orca::image {

namespace {

Imf::Compression compressionOf(const std::string& word) {
    if (word == "none") return Imf::NO_COMPRESSION;
    if (word == "rle") return Imf::RLE_COMPRESSION;
    if (word == "zip") return Imf::ZIP_COMPRESSION;
    if (word == "piz") return Imf::PIZ_COMPRESSION;
    if (word == "pxr24") return Imf::PXR24_COMPRESSION;
    return Imf::ZIPS_COMPRESSION;
}

Imf::PixelType pixelTypeOf(ExrChannel::Storage storage) {
    switch (storage) {
    case ExrChannel::Storage::Half: return Imf::HALF;
    case ExrChannel::Storage::Label: return Imf::UINT;
    case ExrChannel::Storage::Float: break;
    }
    return Imf::FLOAT;
}

/// Pixels of one channel, rows top down as EXR counts them.
struct Plane {
    std::size_t width, height;
    std::size_t pixelSize;
    std::vector<char> bytes;

    Plane(const ExrChannel& channel, std::size_t columns, std::size_t rows)
        : width(columns),
          height(rows),
          pixelSize(channel.storage == ExrChannel::Storage::Half ? sizeof(half) : 4),
          bytes(width * height * pixelSize) {}

    /// Takes `count` pixels of the layer's row, counted from below, from column `first` on.
    void fill(const ExrChannel& channel, std::size_t row, std::size_t first, std::size_t count) {
        const std::size_t stride = channel.layer->stride();
        const float* from = channel.layer->pixels.data() + (row * width + first) * stride + channel.component;
        char* to = bytes.data() + ((height - 1 - row) * width + first) * pixelSize;
        if (channel.storage == ExrChannel::Storage::Half) {
            for (std::size_t x = 0; x < count; ++x, from += stride, to += sizeof(half)) {
                const half value = toHalf(*from);
                std::memcpy(to, &value, sizeof value);
            }
        } else {
            for (std::size_t x = 0; x < count; ++x, from += stride, to += 4) std::memcpy(to, from, 4);
        }
    }
};

/// Parts that are taken from the film in one sweep. It keeps all words of a pixel together, so that a part
/// alone would fetch nearly as much memory as many parts do.
constexpr std::size_t partsPerSweep = 16;

/// Planes of some parts, by part and channel.
std::vector<std::vector<Plane>> planesOf(std::span<const ExrPart> parts, const PictureFrame& frame) {
    const auto width = static_cast<std::size_t>(frame.windowWidth());
    const auto height = static_cast<std::size_t>(frame.windowHeight());
    std::vector<std::vector<Plane>> planes(parts.size());
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (const ExrChannel& channel : parts[p].channels) planes[p].emplace_back(channel, width, height);
    constexpr std::size_t runLength = 16; // pixels, whose words stay in the nearest cache for all channels
    constexpr std::size_t rowsPerChunk = 8;
    const auto fillRow = [&](std::size_t row) {
        if (frame.stop && frame.stop->load(std::memory_order_relaxed)) return; // nothing more is written
        for (std::size_t x = 0; x < width; x += runLength)
            for (std::size_t p = 0; p < parts.size(); ++p)
                for (std::size_t c = 0; c < planes[p].size(); ++c)
                    planes[p][c].fill(parts[p].channels[c], row, x, std::min(runLength, width - x));
    };
    tbb::task_arena arena(std::max(1, frame.threads));
    arena.execute([&] {
        parallelFor(height, rowsPerChunk, [&](std::size_t first, std::size_t last) {
            for (std::size_t row = first; row < last; ++row) fillRow(row);
        });
    });
    return planes;
}

/// Rows that are compressed between two looks at the stop request.
int rowsPerPiece(const PictureFrame& frame) {
    constexpr int pixels = 1 << 20;
    constexpr int rowsOfABlock = 32; // most that a compression takes together
    return std::max(rowsOfABlock, pixels / frame.windowWidth() / rowsOfABlock * rowsOfABlock);
}

Imf::Header headerOf(const PictureFrame& frame, const ExrPart& part, const std::string& compression) {
    const int top = frame.height - 1;
    const Imath::Box2i display({0, 0}, {frame.width - 1, top});
    const Imath::Box2i data({frame.window.xl, top - frame.window.yh},
                            {frame.window.xh, top - frame.window.yl});
    constexpr float narrowest = 1e-6f, widest = 1e6f; // that the format takes
    Imf::Header header(display, data, std::clamp(frame.pixelAspect, narrowest, widest));
    header.compression() = compressionOf(compression);
    header.setType(Imf::SCANLINEIMAGE);
    if (!part.name.empty()) header.setName(part.name);
    for (const ExrChannel& channel : part.channels)
        header.channels().insert(channel.name, Imf::Channel(pixelTypeOf(channel.storage)));
    for (const auto* texts : {&frame.text, &part.text})
        for (const auto& [key, text] : *texts) header.insert(key, Imf::StringAttribute(text));
    if (frame.cameraToWorld.size() == 16) {
        Imath::M44f cameraToWorld;
        std::memcpy(cameraToWorld.x, frame.cameraToWorld.data(), sizeof cameraToWorld.x);
        Imf::addWorldToCamera(header, cameraToWorld.inverse());
        header.insert("cameraToWorld", Imf::M44fAttribute(cameraToWorld));
    }
    return header;
}

} // namespace

std::vector<std::string> bareChannelNames(const Buffer& buffer) {
    if (isColor(buffer.type)) {
        if (isOpaqueColor(buffer.type)) return {"R", "G", "B"};
        return {"R", "G", "B", "A"};
    }
    switch (buffer.type) {
    case miIMG_TYPE_N:
    case miIMG_TYPE_M: return {"X", "Y", "Z"};
    case miIMG_TYPE_Z: return {"Z"};
    case miIMG_TYPE_A:
    case miIMG_TYPE_A_16:
    case miIMG_TYPE_A_H:
    case miIMG_TYPE_A_FP: return {"A"};
    default: return {"Y"};
    }
}

void writeExr(const std::string& path, const PictureFrame& frame, const std::vector<ExrPart>& parts,
              const std::string& compression) {
    std::vector<Imf::Header> headers;
    headers.reserve(parts.size());
    for (const ExrPart& part : parts) headers.push_back(headerOf(frame, part, compression));

    if (Imf::globalThreadCount() < frame.threads) Imf::setGlobalThreadCount(frame.threads);
    FileInPlace target(path, frame.stop);
    {
        ExrStream stream(path, target);
        Imf::MultiPartOutputFile file(stream, headers.data(), static_cast<int>(headers.size()));
        std::vector<std::vector<Plane>> planes;
        for (std::size_t p = 0; p < parts.size(); ++p) {
            if (p % partsPerSweep == 0)
                planes =
                    planesOf(std::span(parts).subspan(p, std::min(partsPerSweep, parts.size() - p)), frame);
            const Imath::Box2i window = headers[p].dataWindow();
            const std::vector<ExrChannel>& channels = parts[p].channels;
            Imf::FrameBuffer slices;
            for (std::size_t c = 0; c < channels.size(); ++c) {
                const ExrChannel& channel = channels[c];
                const Plane& plane = planes[p % partsPerSweep][c];
                slices.insert(channel.name,
                              Imf::Slice::Make(pixelTypeOf(channel.storage), plane.bytes.data(), window,
                                               plane.pixelSize, plane.pixelSize * plane.width));
            }
            Imf::OutputPart output(file, static_cast<int>(p));
            output.setFrameBuffer(slices);
            const int piece = rowsPerPiece(frame);
            for (int row = 0; row < frame.windowHeight(); row += piece)
                output.writePixels(std::min(piece, frame.windowHeight() - row));
        }
    }
    target.commit();
}

std::optional<FinishedPicture> finishedPicture(const std::string& path) {
    if (!faultOfExrHeader(path).empty()) return {};
    try {
        Imf::MultiPartInputFile file(path.c_str());
        for (int part = 0; part < file.parts(); ++part)
            if (!file.partComplete(part)) return {};
        // A copy that was cut short has its table of rows, but not all of them.
        Imf::InputPart last(file, file.parts() - 1);
        const char* bytes = nullptr;
        int count = 0;
        last.rawPixelData(last.header().dataWindow().max.y, bytes, count);
        const Imf::Header& header = file.header(0);
        const Imath::Box2i &display = header.displayWindow(), &data = header.dataWindow();
        FinishedPicture picture;
        picture.window = {data.min.x, display.max.y - data.max.y, data.max.x, display.max.y - data.min.y};
        for (auto attribute = header.begin(); attribute != header.end(); ++attribute)
            if (const auto* value = dynamic_cast<const Imf::StringAttribute*>(&attribute.attribute()))
                picture.text[attribute.name()] = value->value();
        return picture;
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace orca::image

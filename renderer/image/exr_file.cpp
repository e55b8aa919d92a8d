// SPDX-License-Identifier: Apache-2.0
#include "image/exr_file.h"

#include "image/file_in_place.h"
#include "image/image_types.h"

#include <ImathMatrix.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfMatrixAttribute.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfThreading.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

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

/// Finite values stay finite: a highlight above the largest half must not become an infinity that no filter
/// of a compositor survives.
half toHalf(float value) {
    constexpr float largest = 65504.0f;
    return std::isfinite(value) ? half(std::clamp(value, -largest, largest)) : half(value);
}

/// Pixels of one channel, rows top down as EXR counts them.
struct Plane {
    std::vector<char> bytes;
    std::size_t pixelSize;

    Plane(const ExrChannel& channel, int width, int height)
        : pixelSize(channel.storage == ExrChannel::Storage::Half ? sizeof(half) : 4) {
        bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * pixelSize);
        const auto components = static_cast<std::size_t>(channel.layer->buffer->components);
        const auto columns = static_cast<std::size_t>(width);
        char* to = bytes.data();
        for (int row = height - 1; row >= 0; --row) {
            const float* from = channel.layer->pixels.data() +
                                static_cast<std::size_t>(row) * columns * components +
                                static_cast<std::size_t>(channel.component);
            for (std::size_t x = 0; x < columns; ++x, from += components, to += pixelSize) {
                if (channel.storage == ExrChannel::Storage::Half) {
                    const half value = toHalf(*from);
                    std::memcpy(to, &value, sizeof value);
                } else {
                    std::memcpy(to, from, 4);
                }
            }
        }
    }
};

Imf::Header headerOf(const PictureFrame& frame, const ExrPart& part, const std::string& compression) {
    const int top = frame.height - 1;
    const Imath::Box2i display({0, 0}, {frame.width - 1, top});
    const Imath::Box2i data({frame.window.xl, top - frame.window.yh},
                            {frame.window.xh, top - frame.window.yl});
    Imf::Header header(display, data, frame.pixelAspect);
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
    FileInPlace target(path);
    {
        Imf::MultiPartOutputFile file(target.temporaryPath().c_str(), headers.data(),
                                      static_cast<int>(headers.size()));
        for (std::size_t p = 0; p < parts.size(); ++p) {
            const Imath::Box2i window = headers[p].dataWindow();
            const int width = frame.windowWidth(), height = frame.windowHeight();
            std::vector<Plane> planes;
            planes.reserve(parts[p].channels.size()); // slices point into the planes
            Imf::FrameBuffer slices;
            for (const ExrChannel& channel : parts[p].channels) {
                Plane& plane = planes.emplace_back(channel, width, height);
                slices.insert(channel.name,
                              Imf::Slice::Make(pixelTypeOf(channel.storage), plane.bytes.data(), window,
                                               plane.pixelSize,
                                               plane.pixelSize * static_cast<std::size_t>(width)));
            }
            Imf::OutputPart output(file, static_cast<int>(p));
            output.setFrameBuffer(slices);
            output.writePixels(height);
        }
    }
    target.commit();
}

} // namespace orca::image

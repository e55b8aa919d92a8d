// SPDX-License-Identifier: Apache-2.0
#include "image/deep_exr.h"

#include "image/exr_planes.h"
#include "image/exr_stream.h"
#include "image/file_in_place.h"

#include <ImathBox.h>
#include <OpenEXR/ImfDeepFrameBuffer.h>
#include <OpenEXR/ImfDeepScanLineOutputFile.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfPartType.h>

#include <array>

namespace orca::image {

namespace {

struct DeepChannel {
    const char* name;
    std::size_t offset; // in a sample, bytes
};
constexpr DeepChannel channels[] = {{"R", offsetof(DeepSample, color)},
                                    {"G", offsetof(DeepSample, color) + sizeof(float)},
                                    {"B", offsetof(DeepSample, color) + 2 * sizeof(float)},
                                    {"A", offsetof(DeepSample, alpha)},
                                    {"Z", offsetof(DeepSample, front)},
                                    {"ZBack", offsetof(DeepSample, back)}};

/// One row at a time: what the library wants to point to is as long as a row.
void writeRows(Imf::DeepScanLineOutputFile& file, const PictureFrame& frame, const DeepPicture& picture) {
    const auto width = static_cast<std::size_t>(frame.windowWidth());
    const auto height = static_cast<std::size_t>(frame.windowHeight());
    const Imath::Box2i& window = file.header().dataWindow();
    std::vector<unsigned> counts(width);
    std::array<std::vector<const char*>, std::size(channels)> pointers;
    for (auto& each : pointers) each.resize(width);
    for (std::size_t row = 0; row < height; ++row) {
        const std::size_t first = (height - 1 - row) * width; // the file begins at the top
        for (std::size_t x = 0; x < width; ++x) {
            const std::span<const DeepSample> samples = picture.of(first + x);
            counts[x] = static_cast<unsigned>(samples.size());
            for (std::size_t c = 0; c < std::size(channels); ++c)
                pointers[c][x] = reinterpret_cast<const char*>(samples.data()) + channels[c].offset;
        }
        // Slices count columns from 0; all rows are the same memory.
        Imf::DeepFrameBuffer buffer;
        buffer.insertSampleCountSlice(Imf::Slice(
            Imf::UINT, reinterpret_cast<char*>(counts.data() - window.min.x), sizeof(unsigned), 0));
        for (std::size_t c = 0; c < std::size(channels); ++c)
            buffer.insert(channels[c].name,
                          Imf::DeepSlice(Imf::FLOAT,
                                         reinterpret_cast<char*>(pointers[c].data() - window.min.x),
                                         sizeof(char*), 0, sizeof(DeepSample)));
        file.setFrameBuffer(buffer);
        file.writePixels(1);
    }
}

} // namespace

bool writeDeepExr(const std::string& path, const PictureFrame& frame, const DeepPicture& picture, Log& log) {
    try {
        ExrPart part; // its compression, zips, is one that deep files may have
        for (const DeepChannel& channel : channels)
            part.channels.push_back({channel.name, nullptr, 0, ExrChannel::Storage::Float});
        Imf::Header header = headerOf(frame, part, {});
        header.setType(Imf::DEEPSCANLINE);
        FileInPlace target(path, frame.stop);
        {
            ExrStream stream(path, target);
            Imf::DeepScanLineOutputFile file(stream, header);
            writeRows(file, frame, picture);
        }
        target.commit();
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
    log.write(LogLevel::Progress, "IMG", "wrote \"{}\": {} deep samples", path, picture.samples.size());
    return true;
}

} // namespace orca::image

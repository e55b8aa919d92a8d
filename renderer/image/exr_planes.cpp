// SPDX-License-Identifier: Apache-2.0
#include "image/exr_planes.h"

#include "base/parallel_for.h"
#include "image/to_half.h"

#include <ImathBox.h>

#include <tbb/task_arena.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace orca::image {

namespace {

/// What a pixel of a row half as long covers: some of the longer row's pixels, and their shares.
struct Cover {
    std::size_t first;
    std::vector<float> shares; ///< add up to 1
};

std::vector<Cover> coversOf(std::size_t length) {
    const std::size_t half = std::max<std::size_t>(1, length / 2);
    const double step = static_cast<double>(length) / static_cast<double>(half);
    std::vector<Cover> covers(half);
    for (std::size_t i = 0; i < half; ++i) {
        const double begin = static_cast<double>(i) * step, end = begin + step;
        covers[i].first = static_cast<std::size_t>(begin);
        for (std::size_t at = covers[i].first; at < length; ++at) {
            const double share =
                std::min(end, static_cast<double>(at + 1)) - std::max(begin, static_cast<double>(at));
            if (share < 1e-6) break;
            covers[i].shares.push_back(static_cast<float>(share / step));
        }
    }
    return covers;
}

float numberAt(const Plane& plane, std::size_t x, std::size_t y) {
    const char* const at = plane.bytes.data() + (y * plane.width + x) * plane.pixelSize;
    if (plane.pixelSize == sizeof(half)) {
        half value;
        std::memcpy(&value, at, sizeof value);
        return value;
    }
    float value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void setNumber(Plane& plane, std::size_t x, std::size_t y, float number) {
    char* const at = plane.bytes.data() + (y * plane.width + x) * plane.pixelSize;
    if (plane.pixelSize == sizeof(half)) {
        const half value = toHalf(number);
        std::memcpy(at, &value, sizeof value);
    } else std::memcpy(at, &number, sizeof number);
}

} // namespace

Imf::PixelType pixelTypeOf(ExrChannel::Storage storage) {
    switch (storage) {
    case ExrChannel::Storage::Half: return Imf::HALF;
    case ExrChannel::Storage::Label: return Imf::UINT;
    case ExrChannel::Storage::Float: break;
    }
    return Imf::FLOAT;
}

Plane::Plane(ExrChannel::Storage storage, std::size_t columns, std::size_t rows)
    : width(columns),
      height(rows),
      pixelSize(storage == ExrChannel::Storage::Half ? sizeof(half) : 4),
      bytes(width * height * pixelSize) {
}

void Plane::fill(const ExrChannel& channel, std::size_t row, std::size_t first, std::size_t count) {
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

Plane halved(const Plane& plane, const ExrChannel& channel) {
    const std::vector<Cover> columns = coversOf(plane.width), rows = coversOf(plane.height);
    Plane smaller(channel.storage, columns.size(), rows.size());
    const bool averages = accumulationOf(*channel.layer->buffer) == Accumulation::Mean;
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (std::size_t x = 0; x < columns.size(); ++x) {
            if (!averages) {
                std::memcpy(smaller.bytes.data() + (y * smaller.width + x) * plane.pixelSize,
                            plane.bytes.data() +
                                (rows[y].first * plane.width + columns[x].first) * plane.pixelSize,
                            plane.pixelSize);
                continue;
            }
            float sum = 0.0f;
            for (std::size_t j = 0; j < rows[y].shares.size(); ++j)
                for (std::size_t i = 0; i < columns[x].shares.size(); ++i)
                    sum += rows[y].shares[j] * columns[x].shares[i] *
                           numberAt(plane, columns[x].first + i, rows[y].first + j);
            setNumber(smaller, x, y, sum);
        }
    return smaller;
}

std::vector<std::vector<Plane>> planesOf(std::span<const ExrPart> parts, const PictureFrame& frame) {
    const auto width = static_cast<std::size_t>(frame.windowWidth());
    const auto height = static_cast<std::size_t>(frame.windowHeight());
    std::vector<std::vector<Plane>> planes(parts.size());
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (const ExrChannel& channel : parts[p].channels)
            planes[p].emplace_back(channel.storage, width, height);
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

Imf::FrameBuffer slicesOf(const ExrPart& part, std::vector<Plane>& planes, int left, int top) {
    Imf::FrameBuffer slices;
    for (std::size_t c = 0; c < planes.size(); ++c) {
        Plane& plane = planes[c];
        const Imath::Box2i window({left, top}, {left + static_cast<int>(plane.width) - 1,
                                                top + static_cast<int>(plane.height) - 1});
        slices.insert(part.channels[c].name,
                      Imf::Slice::Make(pixelTypeOf(part.channels[c].storage), plane.bytes.data(), window,
                                       plane.pixelSize, plane.pixelSize * plane.width));
    }
    return slices;
}

} // namespace orca::image

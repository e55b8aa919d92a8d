// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ImathBox.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace orca::image {

inline constexpr int rowsAtATime = 32; // a whole number of any compression's blocks

/// Some rows of one part of an EXR file, over the width of a window.
class Rows {
public:
    Rows(const Imf::ChannelList& channels, int left, int right) : left_(left), width_(right - left + 1) {
        for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
            const std::size_t bytes = channel.channel().type == Imf::HALF ? 2 : 4;
            planes_.push_back({channel.name(), channel.channel().type, bytes, {}});
            planes_.back().bytes.resize(bytes * static_cast<std::size_t>(width_) * rowsAtATime);
        }
    }

    /// The planes as the library's frame buffer, for rows from `top` on.
    [[nodiscard]] Imf::FrameBuffer slices(int top) {
        const Imath::Box2i box({left_, top}, {left_ + width_ - 1, top + rowsAtATime - 1});
        Imf::FrameBuffer slices;
        for (Plane& plane : planes_)
            slices.insert(plane.name, Imf::Slice::Make(plane.type, plane.bytes.data(), box, plane.pixelBytes,
                                                       plane.pixelBytes * static_cast<std::size_t>(width_)));
        return slices;
    }

    /// Takes a run of another's pixels in a row; false when `compares` and they are not what is here.
    bool take(const Rows& from, int row, int left, int count, bool compares) {
        for (std::size_t p = 0; p < planes_.size(); ++p) {
            const std::size_t bytes = planes_[p].pixelBytes * static_cast<std::size_t>(count);
            char* const to = at(p, row, left);
            const char* const source = const_cast<Rows&>(from).at(p, row, left);
            if (!compares) std::memcpy(to, source, bytes);
            else if (std::memcmp(to, source, bytes) != 0) return false;
        }
        return true;
    }

    [[nodiscard]] int width() const { return width_; }
    [[nodiscard]] std::size_t planes() const { return planes_.size(); } ///< channels, in their order by name
    [[nodiscard]] Imf::PixelType type(std::size_t plane) const { return planes_[plane].type; }
    /// A plane's pixels as numbers of its type's size, row by row.
    template <class Number>
    [[nodiscard]] Number* numbers(std::size_t plane) {
        return reinterpret_cast<Number*>(planes_[plane].bytes.data());
    }

private:
    struct Plane {
        std::string name;
        Imf::PixelType type;
        std::size_t pixelBytes;
        std::vector<char> bytes;
    };
    char* at(std::size_t plane, int row, int x) {
        return planes_[plane].bytes.data() +
               planes_[plane].pixelBytes * (static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) +
                                            static_cast<std::size_t>(x - left_));
    }

    int left_, width_;
    std::vector<Plane> planes_;
};

/// Where the rows of a part are taken from.
class RowSource {
public:
    explicit RowSource(Rows buffer) : rows(std::move(buffer)) {}
    virtual ~RowSource() = default;
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;
    /// Fills rows `first` to `last` of those from `top` on. Throws std::exception for a damaged file.
    virtual void read(int top, int first, int last) = 0;

    Rows rows;
};

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#include "image/merge_exr.h"

#include "image/exr_header.h"
#include "image/exr_stream.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfThreading.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>

namespace orca::image {

namespace {

using Imath::Box2i;

constexpr const char* renderTime = "renderSeconds";
constexpr int rowsAtATime = 32;        // a whole number of any compression's blocks
constexpr std::int64_t widest = 65536; // and highest picture that is rendered

/// One of the files to join.
struct Window {
    std::string path;
    std::vector<Imf::Header> headers;
    [[nodiscard]] const Box2i& pixels() const { return headers.front().dataWindow(); }
};

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error(reason);
}

/// Of a damaged header, which may hold any numbers.
bool isPlausible(const Box2i& box) {
    const std::int64_t width = std::int64_t{box.max.x} - box.min.x + 1;
    const std::int64_t height = std::int64_t{box.max.y} - box.min.y + 1;
    return width > 0 && width <= widest && height > 0 && height <= widest;
}

Window open(const std::string& path) {
    try {
        if (const std::string fault = faultOfExrHeader(path); !fault.empty()) fail(fault);
        const Imf::MultiPartInputFile file(path.c_str());
        Window window{path, {}};
        for (int part = 0; part < file.parts(); ++part) {
            const Imf::Header& header = file.header(part);
            if (!file.partComplete(part)) fail("it is not complete");
            if (header.hasType() && header.type() != Imf::SCANLINEIMAGE) fail("it does not hold scan lines");
            if (!isPlausible(header.dataWindow()) || !isPlausible(header.displayWindow()))
                fail(fmt::format("its pixels are not between 1 x 1 and {0} x {0}", widest));
            if (header.dataWindow() != file.header(0).dataWindow()) fail("its layers have different windows");
            window.headers.push_back(header);
        }
        return window;
    } catch (const std::exception& problem) {
        fail(fmt::format("\"{}\" cannot be joined: {}", path, problem.what()));
    }
}

std::string nameOf(const Imf::Header& header) {
    return header.hasName() ? header.name() : "picture";
}

/// What two headers of the same part disagree in; empty for nothing. The window and the render time may
/// differ.
std::string differenceOf(const Imf::Header& a, const Imf::Header& b) {
    if (a.displayWindow() != b.displayWindow()) return "the size of the picture";
    if (nameOf(a) != nameOf(b)) return fmt::format("the layers \"{}\" and \"{}\"", nameOf(a), nameOf(b));
    if (!(a.channels() == b.channels())) return fmt::format("the channels of layer \"{}\"", nameOf(a));
    std::set<std::string> names;
    for (const Imf::Header* header : {&a, &b})
        for (auto attribute = header->begin(); attribute != header->end(); ++attribute)
            if (dynamic_cast<const Imf::StringAttribute*>(&attribute.attribute()))
                names.insert(attribute.name());
    const auto textOf = [](const Imf::Header& header, const std::string& name) {
        const auto* text = header.findTypedAttribute<Imf::StringAttribute>(name);
        return text ? fmt::format("\"{}\"", text->value()) : std::string("nothing");
    };
    for (const std::string& name : names) {
        const std::string left = textOf(a, name), right = textOf(b, name);
        if (name == renderTime || left == right) continue;
        if (name == "pictureHash") return "scene, options or version of the renderer (pictureHash)";
        return fmt::format("{}: {} and {}", name, left, right);
    }
    return {};
}

void compare(const Window& first, const Window& other) {
    std::string difference;
    if (first.headers.size() != other.headers.size())
        difference = fmt::format("{} and {} layers", first.headers.size(), other.headers.size());
    for (std::size_t part = 0; difference.empty() && part < first.headers.size(); ++part)
        difference = differenceOf(first.headers[part], other.headers[part]);
    if (!difference.empty())
        fail(fmt::format("\"{}\" and \"{}\" are not of the same picture; they differ in {}", first.path,
                         other.path, difference));
}

/// A box as the renderer's command line has windows: from the lower left.
std::string windowText(const Box2i& box, const Box2i& picture) {
    return fmt::format("{} {} {} {}", box.min.x - picture.min.x, picture.max.y - box.max.y,
                       box.max.x - picture.min.x, picture.max.y - box.min.y);
}

/// Fails when a pixel of the picture is in no window. Looks at the cells of the grid that all borders make.
void checkCoverage(const std::vector<Window>& windows, const Box2i& picture) {
    std::set<int> columns{picture.min.x}, rows{picture.min.y};
    for (const Window& window : windows) {
        const Box2i& box = window.pixels();
        if (!picture.intersects(box.min) || !picture.intersects(box.max))
            fail(fmt::format("\"{}\" reaches beyond the picture", window.path));
        for (const int x : {box.min.x, box.max.x + 1})
            if (x <= picture.max.x) columns.insert(x);
        for (const int y : {box.min.y, box.max.y + 1})
            if (y <= picture.max.y) rows.insert(y);
    }
    std::vector<Box2i> missing;
    for (auto row = rows.begin(); row != rows.end(); ++row)
        for (auto column = columns.begin(); column != columns.end(); ++column) {
            const bool covered = std::any_of(windows.begin(), windows.end(), [&](const Window& window) {
                return window.pixels().intersects(Imath::V2i(*column, *row));
            });
            if (covered) continue;
            const int right = std::next(column) == columns.end() ? picture.max.x : *std::next(column) - 1;
            const int bottom = std::next(row) == rows.end() ? picture.max.y : *std::next(row) - 1;
            Box2i cell({*column, *row}, {right, bottom});
            Box2i* const left = missing.empty() ? nullptr : &missing.back();
            if (left && left->min.y == cell.min.y && left->max.x + 1 == cell.min.x) left->max.x = right;
            else missing.push_back(cell);
        }
    if (missing.empty()) return;
    std::vector<std::string> options;
    for (const Box2i& box : missing) options.push_back("--window " + windowText(box, picture));
    fail(fmt::format("pixels of the picture are in none of the files; still to be rendered: {}",
                     fmt::join(options, ", ")));
}

/// Some rows of one part, over the width of a window.
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
        const Box2i box({left_, top}, {left_ + width_ - 1, top + rowsAtATime - 1});
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

/// A file while the rows that it crosses are joined.
struct Source {
    Source(const Window& window, int part)
        : file(window.path.c_str()),
          input(file, part),
          rows(input.header().channels(), window.pixels().min.x, window.pixels().max.x) {}
    Imf::MultiPartInputFile file;
    Imf::InputPart input;
    Rows rows;
};

/// Joins one part.
void joinPart(const std::vector<Window>& windows, int part, const Box2i& picture,
              Imf::MultiPartOutputFile& output) {
    Imf::OutputPart target(output, part);
    const Imf::Header& header = windows.front().headers[static_cast<std::size_t>(part)];
    Rows joined(header.channels(), picture.min.x, picture.max.x);
    std::vector<std::unique_ptr<Source>> sources(windows.size());
    std::vector<std::size_t> ownerOf(static_cast<std::size_t>(picture.size().x + 1)); // of a row's pixels
    constexpr std::size_t nobody = std::numeric_limits<std::size_t>::max();
    for (int top = picture.min.y; top <= picture.max.y; top += rowsAtATime) {
        const int bottom = std::min(top + rowsAtATime - 1, picture.max.y);
        for (std::size_t w = 0; w < windows.size(); ++w) {
            const Box2i& box = windows[w].pixels();
            const int first = std::max(top, box.min.y), last = std::min(bottom, box.max.y);
            if (first > last) {
                sources[w].reset();
                continue;
            }
            if (!sources[w]) sources[w] = std::make_unique<Source>(windows[w], part);
            try {
                sources[w]->input.setFrameBuffer(sources[w]->rows.slices(top));
                sources[w]->input.readPixels(first, last);
            } catch (const std::exception& problem) {
                fail(fmt::format("\"{}\" is damaged: {}", windows[w].path, problem.what()));
            }
        }
        for (int y = top; y <= bottom; ++y) {
            std::fill(ownerOf.begin(), ownerOf.end(), nobody);
            for (std::size_t w = 0; w < windows.size(); ++w) {
                const Box2i& box = windows[w].pixels();
                if (y < box.min.y || y > box.max.y) continue;
                // Runs of pixels that one window, or none, has brought before.
                for (int x = box.min.x; x <= box.max.x;) {
                    const auto ownerAt = [&](int column) -> std::size_t& {
                        return ownerOf[static_cast<std::size_t>(column - picture.min.x)];
                    };
                    const std::size_t before = ownerAt(x);
                    int end = x;
                    for (; end <= box.max.x && ownerAt(end) == before; ++end)
                        if (before == nobody && end > x) ownerAt(end - 1) = w;
                    if (before == nobody) ownerAt(end - 1) = w;
                    if (!joined.take(sources[w]->rows, y - top, x, end - x, before != nobody))
                        fail(fmt::format(
                            "\"{}\" and \"{}\" overlap and differ in layer \"{}\", in row {} from "
                            "below",
                            windows[before].path, windows[w].path, nameOf(header), picture.max.y - y));
                    x = end;
                }
            }
        }
        target.setFrameBuffer(joined.slices(top));
        target.writePixels(bottom - top + 1);
    }
}

/// The headers of the whole picture.
std::vector<Imf::Header> joinedHeaders(const std::vector<Window>& windows, const Box2i& picture) {
    std::vector<Imf::Header> headers = windows.front().headers;
    for (std::size_t part = 0; part < headers.size(); ++part) {
        headers[part].dataWindow() = picture;
        double seconds = 0.0;
        bool timed = false;
        for (const Window& window : windows)
            if (const auto* text =
                    window.headers[part].findTypedAttribute<Imf::StringAttribute>(renderTime)) {
                double own = 0.0;
                const std::string& value = text->value();
                std::from_chars(value.data(), value.data() + value.size(), own);
                seconds += own;
                timed = true;
            }
        if (timed) headers[part].insert(renderTime, Imf::StringAttribute(fmt::format("{:.2f}", seconds)));
        headers[part].erase("chunkCount"); // of the window
    }
    return headers;
}

} // namespace

bool mergeExr(const std::vector<std::string>& files, const std::string& output, Log& log) {
    try {
        if (files.empty()) fail("there are no files to join");
        std::vector<Window> windows;
        for (const std::string& file : files) {
            windows.push_back(open(file));
            compare(windows.front(), windows.back());
        }
        const Box2i picture = windows.front().headers.front().displayWindow();
        checkCoverage(windows, picture);
        const std::vector<Imf::Header> headers = joinedHeaders(windows, picture);
        Imf::setGlobalThreadCount(static_cast<int>(std::max(1u, std::thread::hardware_concurrency())));
        FileInPlace target(output);
        {
            ExrStream stream(output, target);
            Imf::MultiPartOutputFile joined(stream, headers.data(), static_cast<int>(headers.size()));
            for (int part = 0; part < static_cast<int>(headers.size()); ++part)
                joinPart(windows, part, picture, joined);
        }
        target.commit();
        return true;
    } catch (const std::exception& problem) {
        log.error("IMG", "cannot write \"{}\": {}", output, problem.what());
        return false;
    }
}

} // namespace orca::image

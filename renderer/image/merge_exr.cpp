// SPDX-License-Identifier: Apache-2.0
#include "image/merge_exr.h"

#include "image/exr_header.h"
#include "image/exr_rows.h"
#include "image/exr_stream.h"
#include "image/metadata.h"
#include "image/sums_file.h"

#include <OpenEXR/ImfFloatAttribute.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfIntAttribute.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfThreading.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace orca::image {

namespace {

using Imath::Box2i;

constexpr const char* pictureHash = "pictureHash";
constexpr const char* chunkCount = "chunkCount"; // of a part, by its window
constexpr std::int64_t widest = 65536;           // and highest picture that is rendered

/// One of the files to join, or several with sums of samples of the same pixels.
struct Window {
    std::string path;
    Box2i pixels;
    std::optional<double> seconds;    // that rendering took
    std::vector<Imf::Header> headers; // finished; kept of the first window only, the others have the same
    std::vector<SumsFile> sums;       // empty for a finished file
    std::shared_ptr<Imf::MultiPartInputFile> file; // of a finished one; null where too many are open
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

/// What a file says that it took.
std::optional<double> secondsOf(const Imf::Header& header) {
    const auto* const seconds = header.findTypedAttribute<Imf::FloatAttribute>(renderSecondsKey);
    if (!seconds) return {};
    return seconds->value();
}

Window open(const std::string& path) {
    try {
        if (const std::string fault = faultOfExrHeader(path); !fault.empty()) fail(fault);
        auto file = std::make_shared<Imf::MultiPartInputFile>(path.c_str());
        Window window{path, file->header(0).dataWindow(), secondsOf(file->header(0)), {}, {}, {}};
        for (int part = 0; part < file->parts(); ++part) {
            const Imf::Header& header = file->header(part);
            if (!file->partComplete(part)) fail("it is not complete");
            if (header.hasType() && header.type() != Imf::SCANLINEIMAGE) fail("it does not hold scan lines");
            if (!isPlausible(header.dataWindow()) || !isPlausible(header.displayWindow()))
                fail(fmt::format("its pixels are not between 1 x 1 and {0} x {0}", widest));
            if (header.dataWindow() != window.pixels) fail("its layers have different windows");
            window.headers.push_back(header);
        }
        if (!holdsSums(window.headers.front())) {
            window.file = std::move(file);
            return window;
        }
        window.sums.push_back(sumsFile(path, window.headers));
        window.headers.clear();
        for (const SumsFile::Part& part : window.sums.front().finished) window.headers.push_back(part.header);
        return window;
    } catch (const std::exception& problem) {
        fail(fmt::format("\"{}\" cannot be joined: {}", path, problem.what()));
    }
}

std::string nameOf(const Imf::Header& header) {
    return header.hasName() ? header.name() : "picture";
}

/// Of a text or a whole number; nothing for other attributes.
std::optional<std::string> textOf(const Imf::Header& header, const std::string& name) {
    if (const auto* const text = header.findTypedAttribute<Imf::StringAttribute>(name))
        return fmt::format("\"{}\"", text->value());
    if (const auto* const number = header.findTypedAttribute<Imf::IntAttribute>(name))
        return std::to_string(number->value());
    return {};
}

/// What two headers of the same part disagree in; empty for nothing. The window, the date, the computer and
/// the render time may differ.
std::string differenceOf(const Imf::Header& a, const Imf::Header& b) {
    if (a.displayWindow() != b.displayWindow()) return "the size of the picture";
    if (nameOf(a) != nameOf(b)) return fmt::format("the layers \"{}\" and \"{}\"", nameOf(a), nameOf(b));
    if (!(a.channels() == b.channels())) return fmt::format("the channels of layer \"{}\"", nameOf(a));
    std::set<std::string> names;
    for (const Imf::Header* header : {&a, &b})
        for (auto attribute = header->begin(); attribute != header->end(); ++attribute)
            names.insert(attribute.name());
    for (const char* const key : {capturedKey, hostKey, chunkCount}) names.erase(key);
    std::string ofHash;
    for (const std::string& name : names) {
        const std::string left = textOf(a, name).value_or("nothing");
        const std::string right = textOf(b, name).value_or("nothing");
        if (left == right) continue;
        if (name != pictureHash) return fmt::format("{}: {} and {}", name, left, right);
        ofHash = "scene, options or version of the renderer (pictureHash)";
    }
    return ofHash; // where nothing says it more exactly
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

/// The pixels of the whole picture, overscan included.
Box2i pictureOf(const Window& window) {
    const Imf::Header& header = window.headers.front();
    Box2i picture = header.displayWindow();
    const auto* const text = header.findTypedAttribute<Imf::StringAttribute>(overscanKey);
    if (!text) return picture;
    std::istringstream numbers(text->value());
    int across = -1, up = -1;
    if (!(numbers >> across >> up) || across < 0 || across > widest || up < 0 || up > widest)
        fail(fmt::format("\"{}\" cannot be joined: its overscan is \"{}\"", window.path, text->value()));
    const Imath::V2i overscan(across, up);
    return {picture.min - overscan, picture.max + overscan};
}

/// A box as the renderer's command line has windows: from the lower left of the display.
std::string windowText(const Box2i& box, const Box2i& display) {
    return fmt::format("{} {} {} {}", box.min.x - display.min.x, display.max.y - box.max.y,
                       box.max.x - display.min.x, display.max.y - box.min.y);
}

/// Fails when a pixel of the picture is in no window. Looks at the cells of the grid that all borders make.
void checkCoverage(const std::vector<Window>& windows, const Box2i& picture) {
    const Box2i display = windows.front().headers.front().displayWindow();
    std::set<int> columns{picture.min.x}, rows{picture.min.y};
    for (const Window& window : windows) {
        const Box2i& box = window.pixels;
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
                return window.pixels.intersects(Imath::V2i(*column, *row));
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
    for (const Box2i& box : missing) options.push_back("--window " + windowText(box, display));
    fail(fmt::format("pixels of the picture are in none of the files; still to be rendered: {}",
                     fmt::join(options, ", ")));
}

/// Fails when the sums over a window are not those of every sample, each once.
void checkRanges(Window& window, const Box2i& picture, const Box2i& display) {
    std::sort(window.sums.begin(), window.sums.end(),
              [](const SumsFile& a, const SumsFile& b) { return a.range.first < b.range.first; });
    std::vector<std::string> missing;
    unsigned next = 0;
    const auto require = [&](unsigned end) {
        if (next >= end) return;
        missing.push_back("--sample-range " + textOf(SampleRange{next, end}));
        if (window.pixels != picture) missing.back() += " --window " + windowText(window.pixels, display);
    };
    const SumsFile* before = nullptr;
    for (const SumsFile& sums : window.sums) {
        if (sums.range.first < next)
            fail(fmt::format("\"{}\" and \"{}\" hold the same samples: ranges {} and {} overlap",
                             before->path, sums.path, textOf(before->range), textOf(sums.range)));
        require(sums.range.first);
        next = sums.range.end;
        before = &sums;
    }
    if (!window.sums.empty()) require(window.sums.front().samples);
    if (!missing.empty())
        fail(fmt::format("samples of the picture are in none of the files; still to be rendered: {}",
                         fmt::join(missing, ", ")));
}

/// Opens the files; those with sums of the same pixels become one window.
std::vector<Window> openAll(const std::vector<std::string>& files) {
    constexpr std::size_t mostKeptOpen = 256; // a quarter of the descriptors that a process usually has
    std::vector<Window> windows;
    for (const std::string& file : files) {
        Window window = open(file);
        if (!windows.empty()) {
            compare(windows.front(), window);
            window.headers.clear();
        }
        if (windows.size() >= mostKeptOpen) window.file.reset();
        const auto same = std::find_if(windows.begin(), windows.end(), [&](const Window& other) {
            return !window.sums.empty() && !other.sums.empty() && other.pixels == window.pixels;
        });
        if (same == windows.end()) {
            windows.push_back(std::move(window));
            continue;
        }
        if (!same->sums.front().addsUpWith(window.sums.front()))
            fail(fmt::format("\"{}\" and \"{}\" hold sums of different kinds", same->path, file));
        same->sums.push_back(std::move(window.sums.front()));
        if (!window.seconds) same->seconds.reset();
        else if (same->seconds) *same->seconds += *window.seconds;
    }
    return windows;
}

/// Rows of a finished file.
class FileSource final : public RowSource {
public:
    FileSource(const Window& window, const Imf::Header& header, int part)
        : RowSource({header.channels(), window.pixels.min.x, window.pixels.max.x}),
          path_(window.path),
          file_(window.file ? window.file : std::make_shared<Imf::MultiPartInputFile>(path_.c_str())),
          input_(*file_, part) {}
    /// The buffers of a part that has been read would stay as long as the file is open.
    ~FileSource() override { file_->flushPartCache(); }

    void read(int top, int first, int last) override {
        try {
            input_.setFrameBuffer(rows.slices(top));
            input_.readPixels(first, last);
        } catch (const std::exception& problem) {
            fail(fmt::format("\"{}\" is damaged: {}", path_, problem.what()));
        }
    }

private:
    std::string path_;
    std::shared_ptr<Imf::MultiPartInputFile> file_;
    Imf::InputPart input_;
};

/// A window's file, or files, while the rows that it crosses are joined.
std::unique_ptr<RowSource> sourceOf(const Window& window, const Imf::Header& header, int part) {
    if (window.sums.empty()) return std::make_unique<FileSource>(window, header, part);
    return sumsSource(window.sums, part);
}

/// Joins one part.
void joinPart(const std::vector<Window>& windows, int part, const Box2i& picture,
              Imf::MultiPartOutputFile& output) {
    Imf::OutputPart target(output, part);
    const Imf::Header& header = windows.front().headers[static_cast<std::size_t>(part)];
    Rows joined(header.channels(), picture.min.x, picture.max.x);
    std::vector<std::unique_ptr<RowSource>> sources(windows.size());
    std::vector<std::size_t> ownerOf(static_cast<std::size_t>(picture.size().x + 1)); // of a row's pixels
    constexpr std::size_t nobody = std::numeric_limits<std::size_t>::max();
    for (int top = picture.min.y; top <= picture.max.y; top += rowsAtATime) {
        const int bottom = std::min(top + rowsAtATime - 1, picture.max.y);
        for (std::size_t w = 0; w < windows.size(); ++w) {
            const Box2i& box = windows[w].pixels;
            const int first = std::max(top, box.min.y), last = std::min(bottom, box.max.y);
            if (first > last) {
                sources[w].reset();
                continue;
            }
            if (!sources[w]) sources[w] = sourceOf(windows[w], header, part);
            sources[w]->read(top, first, last);
        }
        for (int y = top; y <= bottom; ++y) {
            std::fill(ownerOf.begin(), ownerOf.end(), nobody);
            for (std::size_t w = 0; w < windows.size(); ++w) {
                const Box2i& box = windows[w].pixels;
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
    std::optional<double> seconds = 0.0; // nothing where one does not say
    for (const Window& window : windows)
        seconds = seconds && window.seconds ? std::optional(*seconds + *window.seconds) : std::nullopt;
    for (Imf::Header& header : headers) {
        header.dataWindow() = picture;
        if (seconds) header.insert(renderSecondsKey, Imf::FloatAttribute(static_cast<float>(*seconds)));
        else header.erase(renderSecondsKey);
        header.erase(chunkCount);
    }
    return headers;
}

} // namespace

bool mergeExr(const std::vector<std::string>& files, const std::string& output, Log& log) {
    try {
        if (files.empty()) fail("there are no files to join");
        std::vector<Window> windows = openAll(files);
        const Box2i picture = pictureOf(windows.front());
        const Box2i display = windows.front().headers.front().displayWindow();
        for (Window& window : windows) checkRanges(window, picture, display);
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

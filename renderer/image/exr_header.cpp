// SPDX-License-Identifier: Apache-2.0
#include "image/exr_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>

namespace orca::image {

namespace {

constexpr std::uint32_t magic = 20000630; // of the format, little-endian as all its numbers
constexpr std::uint32_t hasSeveralParts = 0x1000;
constexpr std::size_t longestName = 255;

template <class T>
T number(std::istream& file) {
    T value{};
    file.read(reinterpret_cast<char*>(&value), sizeof value);
    return value;
}

/// A text that a zero ends. False for one that is too long or at the end of the file.
bool readName(std::istream& file, std::string& name) {
    name.clear();
    for (char c; file.get(c);) {
        if (c == '\0') return true;
        if (name.size() == longestName) return false;
        name += c;
    }
    return false;
}

/// Types of attributes that have one size, of which the library reads as much whatever the file says.
constexpr struct {
    const char* type;
    std::int32_t bytes;
} fixedSizes[] = {{"box2f", 16},
                  {"box2i", 16},
                  {"chromaticities", 32},
                  {"compression", 1},
                  {"deepImageState", 1},
                  {"double", 8},
                  {"envmap", 1},
                  {"float", 4},
                  {"int", 4},
                  {"keycode", 28},
                  {"lineOrder", 1},
                  {"m33d", 72},
                  {"m33f", 36},
                  {"m44d", 128},
                  {"m44f", 64},
                  {"rational", 8},
                  {"tiledesc", 9},
                  {"timecode", 8},
                  {"v2d", 16},
                  {"v2f", 8},
                  {"v2i", 8},
                  {"v3d", 24},
                  {"v3f", 12},
                  {"v3i", 12}};

/// True when the value of a list of channels, of which the library reads until its end, ends at `end`.
bool endsAt(std::istream& file, std::int64_t end) {
    constexpr int bytesOfChannel = 16;
    for (std::string name; readName(file, name);) {
        if (name.empty()) return file.tellg() == end;
        file.seekg(bytesOfChannel, std::ios::cur);
    }
    return false;
}

/// True when a value has as many bytes as its type or its own counts say.
bool hasItsSize(std::istream& file, const std::string& type, std::int32_t size) {
    const std::int64_t end = std::int64_t{file.tellg()} + size;
    const auto* const fixed = std::find_if(std::begin(fixedSizes), std::end(fixedSizes),
                                           [&](const auto& entry) { return type == entry.type; });
    if (fixed != std::end(fixedSizes)) return size == fixed->bytes;
    if (type == "chlist") return endsAt(file, end);
    if (type == "preview") {
        const auto width = number<std::uint32_t>(file), height = number<std::uint32_t>(file);
        constexpr std::uint64_t most = 1 << 15; // of the small picture
        return width <= most && height <= most &&
               std::uint64_t{width} * height * 4 + 8 == static_cast<std::uint64_t>(size);
    }
    if (type == "stringvector") {
        while (file && file.tellg() < end) {
            const auto length = number<std::int32_t>(file);
            if (length < 0) return false;
            file.seekg(length, std::ios::cur);
        }
        return file && file.tellg() == end;
    }
    return true;
}

} // namespace

std::string faultOfExrHeader(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::int64_t length = file.tellg();
    file.seekg(0);
    if (number<std::uint32_t>(file) != magic) return {};
    const bool isMultiPart = number<std::uint32_t>(file) & hasSeveralParts;
    std::string name, type;
    for (bool isFirst = true;;
         isFirst = false) { // of a part's attributes; the last part is followed by an empty one
        if (!readName(file, name)) return "its header is damaged";
        if (name.empty()) {
            if (!isMultiPart || isFirst || file.peek() <= 0) return {};
            continue;
        }
        if (!readName(file, type)) return "its header is damaged";
        const auto size = number<std::int32_t>(file);
        if (!file || size < 0 || size > length - file.tellg())
            return fmt::format("its header is damaged: attribute \"{}\" has {} bytes, more than the file",
                               name, size);
        const std::int64_t value = file.tellg();
        if (!hasItsSize(file, type, size))
            return fmt::format("its header is damaged: attribute \"{}\" of type {} has {} bytes", name, type,
                               size);
        file.clear();
        file.seekg(value + size);
    }
}

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#include "image/exr_header.h"

#include <fmt/format.h>

#include <cstdint>
#include <fstream>

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
        file.seekg(size, std::ios::cur);
    }
}

} // namespace orca::image

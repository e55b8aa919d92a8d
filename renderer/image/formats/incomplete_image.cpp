// SPDX-License-Identifier: Apache-2.0
#include "image/formats/incomplete_image.h"

#include "image/exr_header.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

namespace orca::image {

namespace {

/// Follows the marker segments of a JPEG file (ITU-T T.81, annex B) to the end-of-image marker. True when it
/// is there, and for what is not made of segments.
bool hasEndOfImage(std::istream& file) {
    constexpr int prefix = 0xff, start = 0xd8, end = 0xd9, startOfScan = 0xda;
    const auto hasNoLength = [](int marker) { return marker == 0x01 || (marker >= 0xd0 && marker <= start); };
    int byte = file.get();
    while (file) {
        if (byte != prefix) return true;
        while (byte == prefix) byte = file.get();
        const int marker = byte;
        if (marker == end) return true;
        if (hasNoLength(marker)) {
            byte = file.get();
            continue;
        }
        const int high = file.get(), length = high << 8 | file.get();
        if (!file || length < 2) return static_cast<bool>(file);
        file.ignore(length - 2);
        byte = file.get();
        // Coded data: a prefix in it is followed by 0 or is part of a restart marker.
        while (marker == startOfScan && file) {
            while (file && byte != prefix) byte = file.get();
            const int next = file.peek();
            if (next != 0 && next != prefix && !hasNoLength(next)) break;
            byte = file.get();
        }
    }
    return false;
}

/// Numbers of a TIFF file or of a BigTIFF file.
class TiffNumbers {
public:
    TiffNumbers(std::istream& file, bool bigEndian) : file_(file), bigEndian_(bigEndian) {}

    /// Nothing beyond the end of the file.
    std::optional<std::uint64_t> next(int bytes) {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            const auto byte = static_cast<std::uint64_t>(static_cast<unsigned char>(file_.get()));
            value = bigEndian_ ? value << 8 | byte : value | byte << (8 * i);
        }
        if (!file_) return {};
        return value;
    }
    void go(std::uint64_t to) { file_.seekg(static_cast<std::streamoff>(to)); }

private:
    std::istream& file_;
    bool bigEndian_;
};

/// Byte behind the last strip or tile of the first image of a TIFF file (Adobe, "TIFF Revision 6.0", 1992);
/// 0 where the directory cannot be read.
std::uint64_t endOfTiffPixels(std::istream& file, bool bigEndian) {
    TiffNumbers numbers(file, bigEndian);
    const auto version = numbers.next(2);
    const bool big = version == 43u;
    if (big) numbers.next(4);
    const int wide = big ? 8 : 4;
    const auto directory = numbers.next(wide);
    if (!directory || (!big && version != 42u)) return 0;
    numbers.go(*directory);
    const std::uint64_t entries = numbers.next(big ? 8 : 2).value_or(0);

    constexpr std::uint64_t mostEntries = 4096, mostParts = 1 << 24;
    std::vector<std::uint64_t> offsets, lengths;
    for (std::uint64_t i = 0; i < std::min(entries, mostEntries); ++i) {
        numbers.go(*directory + (big ? 8 : 2) + i * (big ? 20 : 12));
        const auto tag = numbers.next(2), type = numbers.next(2), count = numbers.next(wide);
        if (!count) return 0;
        const bool areOffsets = tag == 273u || tag == 324u; // of strips, of tiles
        if (!areOffsets && tag != 279u && tag != 325u) continue;
        const int size = type == 3u ? 2 : type == 4u ? 4 : type == 16u ? 8 : 0;
        if (size == 0 || *count > mostParts) return 0;
        if (*count * static_cast<std::uint64_t>(size) > static_cast<std::uint64_t>(wide)) {
            const auto elsewhere = numbers.next(wide);
            if (!elsewhere) return 0;
            numbers.go(*elsewhere);
        }
        std::vector<std::uint64_t>& values = areOffsets ? offsets : lengths;
        for (std::uint64_t part = 0; part < *count; ++part) {
            const auto value = numbers.next(size);
            if (!value) return 0;
            values.push_back(*value);
        }
    }
    std::uint64_t end = 0;
    for (std::size_t part = 0; part < std::min(offsets.size(), lengths.size()); ++part)
        end = std::max(end, offsets[part] + lengths[part]);
    return end;
}

} // namespace

std::string whatIsMissing(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file.tellg()));
    file.seekg(0);
    const int first = file.get(), second = file.get();
    if (first == 0xff && second == 0xd8)
        return hasEndOfImage(file.seekg(0))
                   ? ""
                   : fmt::format("it ends after {} bytes, before its end-of-image marker", size);
    if ((first != 'I' && first != 'M') || first != second) return {};
    const std::uint64_t end = endOfTiffPixels(file, first == 'M');
    return end > size ? fmt::format("its pixels take {} bytes, and it ends after {}", end, size) : "";
}

std::string whyUnusable(const std::string& path) {
    unsigned char start[4] = {}; // of an SGI file: two bytes that name the format, storage, bytes of a sample
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(start), sizeof start);
    const int sampleBytes = start[3];
    if (start[0] == 0x01 && start[1] == 0xda && sampleBytes != 1 && sampleBytes != 2)
        return fmt::format("its header says {} bytes a sample, and 1 and 2 are possible", sampleBytes);
    if (std::string fault = faultOfExrHeader(path); !fault.empty()) return fault;
    std::unique_ptr<OIIO::ImageInput> input;
    try {
        input = OIIO::ImageInput::open(path);
    } catch (const std::exception& fault) { // of sizes that a damaged header asks for
        return fmt::format("its reader failed: {}", fault.what());
    }
    if (!input) {
        static_cast<void>(OIIO::geterror()); // clears it
        return {};
    }
    constexpr int largest = 1 << 18; // far beyond what is painted or photographed
    const OIIO::ImageSpec& spec = input->spec();
    const auto isGood = [](int size) { return size > 0 && size <= largest; };
    if (isGood(spec.width) && isGood(spec.height) && isGood(spec.full_width) && isGood(spec.full_height) &&
        isGood(spec.nchannels))
        return {};
    return fmt::format(
        "its header says {} x {} pixels of {} channels, and from 1 x 1 to {} x {} are possible", spec.width,
        spec.height, spec.nchannels, largest, largest);
}

} // namespace orca::image

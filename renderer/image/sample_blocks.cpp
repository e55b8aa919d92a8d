// SPDX-License-Identifier: Apache-2.0
#include "image/sample_blocks.h"

#include "image/cryptomatte.h"

#include <fmt/format.h>

namespace orca::image {

std::vector<SampleRange> blocksOf(SampleRange range, unsigned samples) {
    std::vector<SampleRange> blocks;
    for (unsigned first = range.first; first < range.end;) {
        unsigned count = 1;
        while (first % (4 * count) == 0 && 4 * count <= range.end - first && 4 * count < samples) count *= 4;
        blocks.push_back({first, first + count});
        first += count;
    }
    return blocks;
}

std::string textOf(SampleRange range) {
    return fmt::format("{}:{}", range.first, range.end);
}

std::string textOf(SampleRange range, unsigned samples) {
    return fmt::format("{}:{} of {}", range.first, range.end, samples);
}

Accumulation accumulationOf(const Buffer& buffer) {
    if (isCryptomatte(buffer)) return Accumulation::Ids;
    if (buffer.source == BuiltinSource::Samples) return Accumulation::Count;
    if (buffer.source == BuiltinSource::Variance) return Accumulation::Variance;
    if (buffer.filtering && buffer.type != miIMG_TYPE_TAG) return Accumulation::Mean;
    return buffer.type == miIMG_TYPE_Z ? Accumulation::NearestDepth : Accumulation::Closest;
}

} // namespace orca::image

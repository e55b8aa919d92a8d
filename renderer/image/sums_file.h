// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/exr_rows.h"
#include "image/sample_blocks.h"

#include <OpenEXR/ImfHeader.h>

#include <memory>
#include <string>
#include <vector>

/// Files of the sums of a range of samples, as writeSampleSums writes them.
namespace orca::image {

/// What is in such a file.
struct SumsFile {
    std::string path;
    SampleRange range;
    unsigned samples; ///< of each pixel in the whole picture
    struct Block {
        SampleRange samples;
        int weights;            ///< number of the part
        std::vector<int> parts; ///< by number of the finished part
    };
    std::vector<Block> blocks;
    /// Of the file that the picture is finished in.
    struct Part {
        Imf::Header header;                 ///< with the window of the sums
        std::vector<Accumulation> channels; ///< in order of their names
    };
    std::vector<Part> finished;

    /// False for sums of other numbers of samples, or of other kinds. Their headers are compared elsewhere.
    [[nodiscard]] bool addsUpWith(const SumsFile& other) const;
};

[[nodiscard]] bool holdsSums(const Imf::Header& header);

/// Throws std::runtime_error, without the file's name, for headers that writeSampleSums does not write.
[[nodiscard]] SumsFile sumsFile(const std::string& path, const std::vector<Imf::Header>& headers);

/// Rows of a finished part: the blocks of all files added in their order, and divided by the weights.
/// @param files over one window, in order of their ranges, which make up all samples; outlive the source
/// @param part number of the finished part
[[nodiscard]] std::unique_ptr<RowSource> sumsSource(const std::vector<SumsFile>& files, int part);

} // namespace orca::image

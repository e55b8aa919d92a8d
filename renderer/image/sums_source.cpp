// SPDX-License-Identifier: Apache-2.0
#include "image/summed_ids.h"
#include "image/sums_file.h"
#include "image/to_half.h"

#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>

/// Adds the sums of sample ranges, a few rows at a time.
namespace orca::image {

namespace {

/// Rows of one block, or of several added up.
struct SummedRows {
    SummedRows(const std::vector<Imf::InputPart>& sums, const Imf::Header& ofWeights)
        : weights(ofWeights.channels(), ofWeights.dataWindow().min.x, ofWeights.dataWindow().max.x) {
        for (const Imf::InputPart& part : sums)
            parts.emplace_back(part.header().channels(), part.header().dataWindow().min.x,
                               part.header().dataWindow().max.x);
    }

    // The channels of `weights` are in order of their names.
    [[nodiscard]] float* distance() { return weights.planes() > 1 ? weights.numbers<float>(0) : nullptr; }
    [[nodiscard]] float* weight() { return weights.numbers<float>(weights.planes() - 1); }

    [[nodiscard]] Rows& values() { return parts.front(); }

    std::vector<Rows> parts; // first the part itself, then those that hold the rest of its tables of ids
    Rows weights;
};

class SumsSource final : public RowSource {
public:
    SumsSource(const std::vector<SumsFile>& files, int part)
        : RowSource(rowsOf(files.front().finished[static_cast<std::size_t>(part)].header)),
          channels_(files.front().finished[static_cast<std::size_t>(part)].channels),
          all_{0, files.front().samples} {
        const std::vector<int> parts = partsWithTables(files.front(), part);
        tables_ = idTablesIn(files.front(), parts);
        for (const SumsFile& file : files) {
            files_.push_back(std::make_unique<Imf::MultiPartInputFile>(file.path.c_str()));
            for (const SumsFile::Block& block : file.blocks) {
                Block& opened =
                    blocks_
                        .emplace(block.samples.first,
                                 Block{block.samples, file.path, {*files_.back(), block.weights}, {}})
                        .first->second;
                for (const int each : parts)
                    opened.sums.emplace_back(*files_.back(), block.parts[static_cast<std::size_t>(each)]);
            }
        }
    }

    void read(int top, int first, int last) override {
        top_ = top;
        first_ = first;
        last_ = last;
        begin_ = static_cast<std::size_t>(first - top) * static_cast<std::size_t>(rows.width());
        end_ = static_cast<std::size_t>(last + 1 - top) * static_cast<std::size_t>(rows.width());
        SummedRows& sum = level(0);
        collect(all_, 0, sum);
        finish(sum);
    }

private:
    struct Block {
        SampleRange samples;
        std::string path;
        Imf::InputPart weights;
        std::vector<Imf::InputPart> sums;
    };

    static Rows rowsOf(const Imf::Header& header) {
        return {header.channels(), header.dataWindow().min.x, header.dataWindow().max.x};
    }

    /// Rows for the sums of blocks that are `depth` times a quarter of all samples.
    SummedRows& level(std::size_t depth) {
        while (levels_.size() <= depth) {
            Block& any = blocks_.begin()->second;
            levels_.push_back(std::make_unique<SummedRows>(any.sums, any.weights.header()));
        }
        return *levels_[depth];
    }

    /// Puts the sums of a block into `sum`, which is the rows of its depth or of one above.
    void collect(SampleRange samples, std::size_t depth, SummedRows& sum) {
        const auto block = blocks_.find(samples.first);
        if (block != blocks_.end() && block->second.samples == samples) {
            load(block->second, sum);
            return;
        }
        collect(quarterOf(samples, 0), depth + 1, sum);
        for (unsigned i = 1; i < 4; ++i) {
            SummedRows& quarter = level(depth + 1);
            collect(quarterOf(samples, i), depth + 1, quarter);
            if (depth == 0) addDeviations(static_cast<int>(i), quarter, sum);
            add(quarter, sum);
        }
    }

    void load(Block& block, SummedRows& to) const {
        try {
            block.weights.setFrameBuffer(to.weights.slices(top_));
            block.weights.readPixels(first_, last_);
            for (std::size_t part = 0; part < block.sums.size(); ++part) {
                block.sums[part].setFrameBuffer(to.parts[part].slices(top_));
                block.sums[part].readPixels(first_, last_);
            }
        } catch (const std::exception& problem) {
            throw std::runtime_error(fmt::format("\"{}\" is damaged: {}", block.path, problem.what()));
        }
    }

    /// Notes how far the mean of a quarter of all samples is from that of those before it.
    void addDeviations(int quartersBefore, SummedRows& quarter, SummedRows& sum) {
        const float *const weight = sum.weight(), *const added = quarter.weight();
        deviations_.resize(channels_.size());
        for (std::size_t p = 0; p < channels_.size(); ++p) {
            if (channels_[p] != Accumulation::Variance) continue;
            if (quartersBefore == 1) deviations_[p].assign(end_, 0.0f);
            const float *const from = quarter.values().numbers<float>(p), *const before =
                                                                              sum.values().numbers<float>(p);
            for (std::size_t i = begin_; i < end_; ++i)
                deviations_[p][i] += squaredDeviation(quartersBefore, {before[i], weight[i]},
                                                      {before[i] + from[i], weight[i] + added[i]});
        }
    }

    /// Adds a later block's sums.
    void add(SummedRows& later, SummedRows& sum) const {
        const float *const distance = later.distance(), *const weight = later.weight();
        float* const keptDistance = sum.distance();
        for (const IdPlanes& table : tables_)
            for (std::size_t i = begin_; i < end_; ++i) {
                IdWords words = table.at(sum.parts, i);
                addIds(words.data(), table.at(later.parts, i).data(), table.slots.size(), 1.0f);
                table.put(words, sum.parts, i);
            }
        for (std::size_t p = 0; p < channels_.size(); ++p) {
            if (channels_[p] == Accumulation::Ids) continue;
            const float* const from = later.values().numbers<float>(p);
            float* const to = sum.values().numbers<float>(p);
            if (!keepsOneSample(channels_[p])) {
                for (std::size_t i = begin_; i < end_; ++i) to[i] += from[i];
                continue;
            }
            for (std::size_t i = begin_; i < end_; ++i)
                if (replaces(channels_[p], from[i], distance[i], to[i], keptDistance[i]))
                    std::memcpy(to + i, from + i, sizeof *to); // a label is no float
        }
        float* const sumOfWeights = sum.weight();
        for (std::size_t i = begin_; i < end_; ++i) sumOfWeights[i] += weight[i];
        if (!distance) return;
        for (std::size_t i = begin_; i < end_; ++i) keptDistance[i] = std::min(keptDistance[i], distance[i]);
    }

    /// Makes pixels of sums.
    void finish(SummedRows& sum) {
        const float* const weight = sum.weight();
        for (const IdPlanes& table : tables_)
            for (std::size_t i = begin_; i < end_; ++i) {
                IdWords words = table.at(sum.parts, i);
                finishIds(words.data(), table.slots.size(), weight[i]);
                table.put(words, sum.parts, i);
            }
        for (std::size_t p = 0; p < channels_.size(); ++p) {
            const float* const from = sum.values().numbers<float>(p);
            if (channels_[p] == Accumulation::Variance) {
                for (std::size_t i = begin_; i < end_; ++i)
                    rows.numbers<float>(p)[i] =
                        all_.count() > 1 ? varianceOfMean(deviations_[p][i], 4) : 0.0f;
                continue;
            }
            if (channels_[p] != Accumulation::Mean) {
                std::memcpy(rows.numbers<float>(p) + begin_, from + begin_, (end_ - begin_) * sizeof *from);
                continue;
            }
            for (std::size_t i = begin_; i < end_; ++i) {
                const float mean = dividedByWeight(from[i], weight[i]);
                if (rows.type(p) == Imf::HALF) rows.numbers<half>(p)[i] = toHalf(mean);
                else rows.numbers<float>(p)[i] = mean;
            }
        }
    }

    const std::vector<Accumulation>& channels_;
    std::vector<IdPlanes> tables_;
    SampleRange all_;
    std::vector<std::unique_ptr<Imf::MultiPartInputFile>> files_;
    std::map<unsigned, Block> blocks_; // by their first sample
    std::vector<std::unique_ptr<SummedRows>> levels_;
    std::vector<std::vector<float>> deviations_; // by channel; of variances only
    int top_ = 0, first_ = 0, last_ = 0;
    std::size_t begin_ = 0, end_ = 0; // of the rows that are read, in pixels
};

} // namespace

std::unique_ptr<RowSource> sumsSource(const std::vector<SumsFile>& files, int part) {
    return std::make_unique<SumsSource>(files, part);
}

} // namespace orca::image

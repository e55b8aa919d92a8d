// SPDX-License-Identifier: Apache-2.0
#include "image/sums_file.h"

#include "image/exr_file.h"

#include <OpenEXR/ImfStringAttribute.h>
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orca::image {

namespace {

constexpr const char* rangeKey = "sampleRange";         // "A:B of N", in every part
constexpr const char* accumulationKey = "accumulation"; // a letter for each channel, in order of their names
constexpr const char* sumsName = "sums";
constexpr const char* weightsName = "weights";
constexpr const char* weightChannel = "weight";
constexpr const char* distanceChannel = "distance";

/// Letters of `accumulationKey`.
constexpr char halfMean = 'h';
constexpr char floatMean = 'f';
constexpr char closest = 'c';
constexpr char nearestDepth = 'z';
constexpr char weightedIds = 'i';
constexpr char numberOfSamples = 'n';
constexpr char varianceOfPrimary = 'v';

char letterOf(const ExrChannel& channel) {
    switch (accumulationOf(*channel.layer->buffer)) {
    case Accumulation::Closest: return closest;
    case Accumulation::NearestDepth: return nearestDepth;
    case Accumulation::Ids: return weightedIds;
    case Accumulation::Count: return numberOfSamples;
    case Accumulation::Variance: return varianceOfPrimary;
    case Accumulation::Mean: break;
    }
    return channel.storage == ExrChannel::Storage::Half ? halfMean : floatMean;
}

/// The part of a block's sums that becomes a finished part.
ExrPart sumsPart(ExrPart part, SampleRange block) {
    part.compression = {};
    part.name = fmt::format("{} {}{}{}", sumsName, textOf(block), part.name.empty() ? "" : " ", part.name);
    std::map<std::string, char> letters;
    for (ExrChannel& channel : part.channels) {
        letters[channel.name] = letterOf(channel);
        if (channel.storage == ExrChannel::Storage::Half) channel.storage = ExrChannel::Storage::Float;
    }
    std::string kinds;
    for (const auto& [name, letter] : letters) kinds += letter;
    part.metadata[accumulationKey] = kinds;
    return part;
}

[[noreturn]] void fail() {
    throw std::runtime_error("it does not hold sums of samples as orca-render writes them");
}

/// Takes a whole number off the front of `text`.
unsigned takeNumber(std::string_view& text) {
    unsigned number = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (problem != std::errc()) fail();
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

void take(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) fail();
    text.remove_prefix(expected.size());
}

/// Takes "A:B" off the front of `text`.
SampleRange takeRange(std::string_view& text) {
    SampleRange range{};
    range.first = takeNumber(text);
    take(text, ":");
    range.end = takeNumber(text);
    if (range.first >= range.end) fail();
    return range;
}

const std::string& textOf(const Imf::Header& header, const char* key) {
    const auto* const text = header.findTypedAttribute<Imf::StringAttribute>(key);
    if (!text) fail();
    return text->value();
}

Accumulation accumulationOf(char letter) {
    switch (letter) {
    case halfMean:
    case floatMean: return Accumulation::Mean;
    case closest: return Accumulation::Closest;
    case nearestDepth: return Accumulation::NearestDepth;
    case weightedIds: return Accumulation::Ids;
    case numberOfSamples: return Accumulation::Count;
    case varianceOfPrimary: return Accumulation::Variance;
    default: fail();
    }
}

/// A finished part from the header of its sums.
SumsFile::Part finishedPart(const Imf::Header& sums, std::string_view name) {
    const std::string& letters = textOf(sums, accumulationKey);
    SumsFile::Part part{sums, {}};
    part.header.channels() = {};
    for (auto channel = sums.channels().begin(); channel != sums.channels().end(); ++channel) {
        if (part.channels.size() == letters.size()) fail();
        const char letter = letters[part.channels.size()];
        const Imf::PixelType type = channel.channel().type;
        if (type != Imf::FLOAT && (type != Imf::UINT || letter != closest)) fail();
        part.channels.push_back(accumulationOf(letter));
        part.header.channels().insert(channel.name(), Imf::Channel(letter == halfMean ? Imf::HALF : type));
    }
    if (part.channels.size() != letters.size()) fail();
    for (const char* const key : {accumulationKey, rangeKey, "name"}) part.header.erase(key);
    if (!name.empty()) part.header.setName(std::string(name));
    return part;
}

bool areWeights(const Imf::Header& header) {
    const Imf::Channel* const weight = header.channels().findChannel(weightChannel);
    const Imf::Channel* const distance = header.channels().findChannel(distanceChannel);
    return weight && weight->type == Imf::FLOAT && (!distance || distance->type == Imf::FLOAT);
}

} // namespace

bool writeSampleSums(const std::string& path, PictureFrame frame, const std::vector<SummedBlock>& blocks,
                     SampleRange range, unsigned samples, const LayeredFormat& format, Log& log) {
    std::vector<ExrPart> parts;
    for (const SummedBlock& block : blocks) {
        constexpr auto storage = ExrChannel::Storage::Float;
        ExrPart weights{fmt::format("{} {}", weightsName, textOf(block.samples)),
                        {{weightChannel, &block.weights, 0, storage}},
                        {},
                        {}};
        if (!block.distances.pixels.empty())
            weights.channels.push_back({distanceChannel, &block.distances, 0, storage});
        parts.push_back(std::move(weights));
        for (ExrPart& part : layeredParts(frame, block.layers, format))
            parts.push_back(sumsPart(std::move(part), block.samples));
    }
    frame.metadata[rangeKey] = textOf(range, samples);
    try {
        writeExr(path, frame, parts);
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
    log.write(LogLevel::Progress, "IMG", "wrote \"{}\": samples {} of {}", path, textOf(range), samples);
    return true;
}

bool SumsFile::addsUpWith(const SumsFile& other) const {
    return samples == other.samples &&
           std::equal(finished.begin(), finished.end(), other.finished.begin(), other.finished.end(),
                      [](const Part& a, const Part& b) { return a.channels == b.channels; });
}

bool holdsSums(const Imf::Header& header) {
    return header.findTypedAttribute<Imf::StringAttribute>(rangeKey) != nullptr;
}

SumsFile sumsFile(const std::string& path, const std::vector<Imf::Header>& headers) {
    constexpr unsigned mostSamples = 1u << 30;
    SumsFile file{path, {}, 0, {}, {}};
    std::string_view range = textOf(headers.front(), rangeKey);
    file.range = takeRange(range);
    take(range, " of ");
    file.samples = takeNumber(range);
    if (!range.empty() || !std::has_single_bit(file.samples) || std::countr_zero(file.samples) % 2 != 0 ||
        file.samples > mostSamples || file.range.end > file.samples)
        fail();

    for (std::size_t i = 0; i < headers.size(); ++i) {
        if (!headers[i].hasName()) fail();
        std::string_view name = headers[i].name();
        const bool opensBlock = name.starts_with(weightsName);
        take(name, opensBlock ? weightsName : sumsName);
        take(name, " ");
        const SampleRange samples = takeRange(name);
        if (opensBlock) {
            if (!areWeights(headers[i])) fail();
            file.blocks.push_back({samples, static_cast<int>(i), {}});
            continue;
        }
        if (file.blocks.empty() || file.blocks.back().samples != samples) fail();
        if (!name.empty()) take(name, " ");
        std::vector<int>& parts = file.blocks.back().parts;
        SumsFile::Part part = finishedPart(headers[i], name);
        const Imf::Header& weights = headers[static_cast<std::size_t>(file.blocks.back().weights)];
        if (std::any_of(part.channels.begin(), part.channels.end(), keepsOneSample) &&
            !weights.channels().findChannel(distanceChannel))
            fail();
        if (file.blocks.size() == 1) file.finished.push_back(std::move(part));
        else if (parts.size() >= file.finished.size() ||
                 part.channels != file.finished[parts.size()].channels)
            fail();
        parts.push_back(static_cast<int>(i));
    }
    std::vector<SampleRange> blocks;
    for (const SumsFile::Block& block : file.blocks) {
        if (block.parts.size() != file.finished.size()) fail();
        blocks.push_back(block.samples);
    }
    if (file.finished.empty() || blocks != blocksOf(file.range, file.samples)) fail();
    return file;
}

} // namespace orca::image

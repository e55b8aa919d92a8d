// SPDX-License-Identifier: Apache-2.0
#include "image/exr_file.h"
#include "image/image_types.h"

#include <algorithm>

/// The layered file: which parts and channels it has, for writing and for listing.
namespace orca::image {

namespace {

constexpr std::string_view beautyName = "beauty";

ExrChannel::Storage storageInLayeredFile(const Buffer& buffer) {
    if (buffer.type == miIMG_TYPE_TAG) return ExrChannel::Storage::Label;
    // An unfiltered colour holds data (a position, a normal) that half would round.
    return isColor(buffer.type) && buffer.filtering ? ExrChannel::Storage::Half : ExrChannel::Storage::Float;
}

std::string_view storageName(ExrChannel::Storage storage) {
    switch (storage) {
    case ExrChannel::Storage::Half: return "half";
    case ExrChannel::Storage::Label: return "uint";
    case ExrChannel::Storage::Float: break;
    }
    return "float";
}

std::string partName(const Buffer& buffer, std::span<const Buffer* const> buffers) {
    if (!buffer.primary) return buffer.name;
    const bool taken = std::any_of(buffers.begin(), buffers.end(), [&](const Buffer* other) {
        return other != &buffer && other->name == beautyName;
    });
    return taken ? buffer.name : std::string(beautyName);
}

ExrPart partOf(const Layer& layer, const PartDescription& description, const PictureFrame& frame) {
    ExrPart part{description.name, {}, {}};
    for (std::size_t c = 0; c < description.channels.size(); ++c) {
        part.channels.push_back(
            {description.channels[c], &layer, static_cast<int>(c), storageInLayeredFile(*layer.buffer)});
    }
    if (const auto text = frame.layerText.find(layer.buffer->name); text != frame.layerText.end())
        part.text = text->second;
    return part;
}

/// All channels in one part; what belongs to one layer only gets the layer's name before its key.
ExrPart mergedPart(const std::vector<ExrPart>& parts) {
    ExrPart merged;
    for (const ExrPart& part : parts) {
        merged.channels.insert(merged.channels.end(), part.channels.begin(), part.channels.end());
        for (const auto& [key, text] : part.text) merged.text[part.name + "." + key] = text;
    }
    return merged;
}

} // namespace

std::vector<std::string> channelNames(const Buffer& buffer) {
    std::vector<std::string> names = bareChannelNames(buffer);
    if (buffer.primary) return names;
    for (std::string& name : names) name.insert(0, buffer.name + ".");
    return names;
}

std::vector<const Buffer*> layeredBuffers(const FramebufferSet& set) {
    std::vector<const Buffer*> buffers;
    const auto primary = static_cast<std::size_t>(set.primaryIndex());
    if (primary != 0) buffers.push_back(&set.buffers()[primary]);
    for (std::size_t i = 1; i < set.buffers().size(); ++i)
        if (i != primary) buffers.push_back(&set.buffers()[i]);
    return buffers;
}

std::vector<PartDescription> describeParts(std::span<const Buffer* const> buffers) {
    std::vector<PartDescription> parts;
    for (const Buffer* buffer : buffers) {
        parts.push_back({partName(*buffer, buffers), channelNames(*buffer),
                         storageName(storageInLayeredFile(*buffer)), buffer});
    }
    std::stable_partition(parts.begin(), parts.end(), [](const auto& part) { return part.buffer->primary; });
    return parts;
}

std::vector<ExrPart> layeredParts(const PictureFrame& frame, std::span<const Layer> layers,
                                  PartLayout layout) {
    std::vector<const Buffer*> buffers;
    for (const Layer& layer : layers) buffers.push_back(layer.buffer);
    std::vector<ExrPart> parts;
    for (const PartDescription& description : describeParts(buffers)) {
        const auto layer = std::find_if(layers.begin(), layers.end(),
                                        [&](const Layer& each) { return each.buffer == description.buffer; });
        parts.push_back(partOf(*layer, description, frame));
    }
    if (layout == PartLayout::SinglePart) parts = {mergedPart(parts)};
    return parts;
}

bool writeLayeredExr(const std::string& path, const PictureFrame& frame, std::span<const Layer> layers,
                     PartLayout layout, Log& log) {
    try {
        writeExr(path, frame, layeredParts(frame, layers, layout), {});
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
    log.write(LogLevel::Progress, "IMG", "wrote \"{}\": {} layers", path, layers.size());
    return true;
}

} // namespace orca::image

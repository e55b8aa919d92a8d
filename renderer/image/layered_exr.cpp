// SPDX-License-Identifier: Apache-2.0
#include "image/cryptomatte.h"
#include "image/exr_file.h"
#include "image/image_types.h"

#include <algorithm>

/// The layered file: which parts and channels it has, for writing and for listing.
namespace orca::image {

namespace {

constexpr std::string_view beautyName = "beauty";

/// An unfiltered colour holds data (a position, a normal, ids) that half numbers would round.
bool isFilteredColor(const Buffer& buffer) {
    return isColor(buffer.type) && buffer.filtering && !isCryptomatte(buffer);
}

ExrChannel::Storage storageInLayeredFile(const Buffer& buffer, const LayeredFormat& format) {
    if (buffer.type == miIMG_TYPE_TAG) return ExrChannel::Storage::Label;
    bool isHalf = isFilteredColor(buffer);
    for (const auto& [name, half] : format.half)
        if (name == buffer.name || (name.empty() && isFilteredColor(buffer))) isHalf = half;
    return isHalf ? ExrChannel::Storage::Half : ExrChannel::Storage::Float;
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

Metadata idMetadataOf(const Buffer& buffer, const PictureFrame& frame) {
    const std::string key = cryptomatteKey(cryptomatteName(buffer));
    Metadata own;
    for (const auto& [name, value] : frame.idMetadata)
        if (name.starts_with(key)) own[name] = value;
    return own;
}

ExrPart partOf(const Layer& layer, const PartDescription& description, const PictureFrame& frame,
               const LayeredFormat& format) {
    ExrPart part{description.name, {}, {}, {}};
    const ExrChannel::Storage storage = storageInLayeredFile(*layer.buffer, format);
    for (std::size_t c = 0; c < description.channels.size(); ++c)
        part.channels.push_back({description.channels[c], &layer, static_cast<int>(c), storage});
    if (format.compression.isLossless() || isFilteredColor(*layer.buffer))
        part.compression = format.compression;
    if (const auto own = frame.layerMetadata.find(layer.buffer->name); own != frame.layerMetadata.end())
        part.metadata = own->second;
    if (layer.buffer->primary) part.keyedMetadata = frame.idMetadata;
    else if (layer.buffer->idSlots > 0) part.keyedMetadata = idMetadataOf(*layer.buffer, frame);
    return part;
}

/// All channels in one part; what belongs to one layer only gets the layer's name before its key.
ExrPart mergedPart(const std::vector<ExrPart>& parts) {
    ExrPart merged;
    merged.compression = parts.front().compression;
    for (const ExrPart& part : parts) {
        merged.channels.insert(merged.channels.end(), part.channels.begin(), part.channels.end());
        for (const auto& [key, value] : part.metadata) merged.metadata[part.name + "." + key] = value;
        merged.keyedMetadata.insert(part.keyedMetadata.begin(), part.keyedMetadata.end());
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

std::vector<PartDescription> describeParts(std::span<const Buffer* const> buffers,
                                           const LayeredFormat& format) {
    std::vector<PartDescription> parts;
    for (const Buffer* buffer : buffers) {
        parts.push_back({partName(*buffer, buffers), channelNames(*buffer),
                         storageName(storageInLayeredFile(*buffer, format)), buffer});
    }
    std::stable_partition(parts.begin(), parts.end(), [](const auto& part) { return part.buffer->primary; });
    return parts;
}

std::vector<ExrPart> layeredParts(const PictureFrame& frame, std::span<const Layer> layers,
                                  const LayeredFormat& format) {
    std::vector<const Buffer*> buffers;
    for (const Layer& layer : layers) buffers.push_back(layer.buffer);
    std::vector<ExrPart> parts;
    for (const PartDescription& description : describeParts(buffers, format)) {
        const auto layer = std::find_if(layers.begin(), layers.end(),
                                        [&](const Layer& each) { return each.buffer == description.buffer; });
        parts.push_back(partOf(*layer, description, frame, format));
    }
    if (format.layout == PartLayout::SinglePart) parts = {mergedPart(parts)};
    return parts;
}

bool writeLayeredExr(const std::string& path, const PictureFrame& frame, std::span<const Layer> layers,
                     const LayeredFormat& format, Log& log) {
    try {
        writeExr(path, frame, layeredParts(frame, layers, format), {format.tileSize, format.mipMaps});
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
    log.write(LogLevel::Progress, "IMG", "wrote \"{}\": {} layers", path, layers.size());
    return true;
}

} // namespace orca::image

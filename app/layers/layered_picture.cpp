// SPDX-License-Identifier: Apache-2.0
#include "layers/layered_picture.h"

#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace orca::app {

namespace {

/// A channel's layer within its part, and its own name.
struct ChannelName {
    std::string layer, channel;
};

ChannelName splitName(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) return {"", name};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

/// Channels of a part carry its name again in some files.
std::string layerName(const std::string& part, const std::string& layer) {
    if (part.empty() || layer.empty() || layer == part) return part.empty() ? layer : part;
    return layer.starts_with(part + ".") ? layer : part + "." + layer;
}

PictureLayer& layerOf(std::vector<PictureLayer>& layers, std::size_t first, const std::string& name,
                      const OIIO::ImageSpec& spec) {
    const auto found = std::find_if(layers.begin() + static_cast<std::ptrdiff_t>(first), layers.end(),
                                    [&](const PictureLayer& layer) { return layer.name == name; });
    if (found != layers.end()) return *found;
    layers.push_back(
        {name, {}, spec.x, spec.y, spec.width, spec.height, spec.format == OIIO::TypeHalf, {}, {}});
    return layers.back();
}

/// In a file of one part, what belongs to one layer has the layer's name before its key.
std::map<std::string, std::string> metadataOf(const OIIO::ImageSpec& spec, const std::string& layer) {
    std::map<std::string, std::string> texts;
    const std::string own = layer + ".";
    for (const OIIO::ParamValue& attribute : spec.extra_attribs) {
        const std::string key(attribute.name().string());
        if (key.starts_with(own)) texts[key.substr(own.size())] = attribute.get_string();
        else texts.emplace(key, attribute.get_string());
    }
    return texts;
}

void addPart(OIIO::ImageInput& file, int part, std::vector<PictureLayer>& layers) {
    const OIIO::ImageSpec& spec = file.spec();
    if (spec.deep) throw std::runtime_error("it is deep; flatten it first");
    const auto channels = static_cast<std::size_t>(spec.nchannels);
    std::vector<float> values(spec.image_pixels() * channels);
    if (!file.read_image(part, 0, 0, spec.nchannels, OIIO::TypeFloat, values.data()))
        throw std::runtime_error(file.geterror());

    const std::size_t first = layers.size();
    const std::string name(spec.get_string_attribute("oiio:subimagename"));
    std::vector<std::size_t> layerOfChannel;
    for (const std::string& channel : spec.channelnames) {
        const ChannelName split = splitName(channel);
        PictureLayer& layer = layerOf(layers, first, layerName(name, split.layer), spec);
        layer.channels.push_back(split.channel);
        layerOfChannel.push_back(static_cast<std::size_t>(&layer - layers.data()));
    }
    for (std::size_t i = first; i < layers.size(); ++i) {
        layers[i].values.reserve(spec.image_pixels() * layers[i].channels.size());
        layers[i].metadata = metadataOf(spec, layers[i].name);
    }
    for (std::size_t pixel = 0; pixel < spec.image_pixels(); ++pixel)
        for (std::size_t c = 0; c < channels; ++c)
            layers[layerOfChannel[c]].values.push_back(values[pixel * channels + c]);
}

} // namespace

std::vector<PictureLayer> readLayers(const std::string& path) {
    std::vector<PictureLayer> layers;
    try {
        const std::unique_ptr<OIIO::ImageInput> file = OIIO::ImageInput::open(path);
        if (!file) throw std::runtime_error(OIIO::geterror());
        for (int part = 0; file->seek_subimage(part, 0); ++part) addPart(*file, part, layers);
    } catch (const std::exception& problem) {
        throw std::runtime_error(fmt::format("\"{}\" cannot be read: {}", path, problem.what()));
    }
    return layers;
}

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#include "layered_format_words.h"

#include "base/nearest_name.h"
#include "image/cryptomatte.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

namespace orca::app {

std::string parseCompression(const std::string& text, image::ExrCompression& compression) {
    constexpr std::string_view words[] = {"none", "rle", "zip", "zips", "piz", "pxr24", "dwaa"};
    const std::size_t colon = text.find(':');
    compression.word = text.substr(0, colon);
    if (std::find(std::begin(words), std::end(words), compression.word) == std::end(words))
        return fmt::format("\"{}\" is not one of {}", compression.word, fmt::join(words, ", "));
    if (colon == std::string::npos) return {};
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + colon + 1, end, compression.level);
    if (compression.word != "dwaa" || read.ec != std::errc() || read.ptr != end ||
        !(compression.level >= 0.0f && compression.level <= 100000.0f))
        return fmt::format("\"{}\": only dwaa has a level, a number from 0 on", text);
    return {};
}

std::string parseTypes(const std::vector<std::string>& words, image::LayeredFormat& format) {
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        const bool hasLayer = equals != std::string::npos;
        const std::string layer = hasLayer ? word.substr(0, equals) : "";
        const std::string type = hasLayer ? word.substr(equals + 1) : word;
        if ((type != "half" && type != "float") || (hasLayer && layer.empty()))
            return fmt::format("\"{}\" is not half, float, LAYER=half or LAYER=float", word);
        // What is said of all colours does not overrule what is said of one.
        const auto place = layer.empty() ? format.half.begin() : format.half.end();
        format.half.insert(place, {layer, type == "half"});
    }
    return {};
}

std::string textOf(const image::LayeredFormat& format) {
    std::string text;
    if (format.layout == image::PartLayout::SinglePart) text += " --single-part";
    const image::ExrCompression& compression = format.compression;
    if (compression.word != image::ExrCompression().word) text += " --exr-compression " + compression.word;
    if (compression.word == "dwaa") text += fmt::format(":{}", compression.level);
    for (const auto& [layer, half] : format.half)
        text += fmt::format(" --exr-type {}{}{}", layer, layer.empty() ? "" : "=", half ? "half" : "float");
    if (format.isTiled()) text += fmt::format(" --exr-tiles {}", format.tileSize);
    if (format.mipMaps) text += " --exr-mip-maps";
    return text.empty() ? text : text.substr(1);
}

std::string faultOfFormat(const image::LayeredFormat& format,
                          const std::vector<const image::Buffer*>& layers) {
    for (const auto& [name, half] : format.half) {
        if (name.empty()) continue;
        const auto layer = std::find_if(layers.begin(), layers.end(),
                                        [&name = name](const auto* each) { return each->name == name; });
        if (layer == layers.end()) {
            std::vector<std::string_view> known;
            for (const image::Buffer* each : layers) known.push_back(each->name);
            const std::string nearest = nearestName(name, known);
            return fmt::format("the picture has no layer \"{}\"{}", name,
                               nearest.empty() ? "" : fmt::format(", did you mean \"{}\"?", nearest));
        }
        if ((*layer)->type == miIMG_TYPE_TAG)
            return fmt::format("layer \"{}\" holds labels, which are stored as whole numbers", name);
        if (image::isCryptomatte(**layer) && half)
            return fmt::format("layer \"{}\" holds ids, which half numbers would round", name);
    }
    return {};
}

} // namespace orca::app

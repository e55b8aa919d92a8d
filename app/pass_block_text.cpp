// SPDX-License-Identifier: Apache-2.0
#include "pass_block_text.h"

#include "scene/language/scene_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace orca::app {

namespace {

std::string recordText(const TypedRecord& record) {
    const FrameBufferDataRecord& settings = record.settings;
    std::string text = fmt::format("        {{ \"frameBufferName\" {}", scene::quoted(record.frameBuffer));
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS)
        if (settings.*flag.field) text += fmt::format(", \"{}\" on", flag.name);
    const std::pair<const char*, miInteger> numbers[] = {
        {"minReflectionLevel", settings.minReflectionLevel},
        {"maxReflectionLevel", settings.maxReflectionLevel},
        {"minRefractionLevel", settings.minRefractionLevel},
        {"maxRefractionLevel", settings.maxRefractionLevel},
        {"userWord4", static_cast<miInteger>(settings.userWord4)}};
    for (const auto& [name, value] : numbers)
        if (value != 0) text += fmt::format(", \"{}\" {}", name, value);
    return text + " }";
}

} // namespace

std::string passBlockText(const std::string& blockName, std::vector<TypedRecord> records,
                          const std::vector<std::string>& nonMaterialFrameBuffers) {
    std::stable_sort(records.begin(), records.end(),
                     [](const TypedRecord& a, const TypedRecord& b) { return a.type < b.type; });
    std::array<int, PASS_TYPE_COUNT> counts{};
    std::vector<std::string> recordTexts, names;
    for (const TypedRecord& record : records) {
        ++counts[record.type];
        recordTexts.push_back(recordText(record));
    }
    for (const std::string& name : nonMaterialFrameBuffers) names.push_back(scene::quoted(name));
    return fmt::format("data {} \"orcaFrameBufferData\" (\n"
                       "    \"magic\" {},\n"
                       "    \"nonMaterialFrameBuffers\" [ {} ],\n"
                       "    \"frameBufferInfo\" [\n{} ],\n"
                       "    \"FrameBufferTypeCounts\" [ {} ] )\n"
                       "end data\n",
                       scene::quoted(blockName), FRAME_BUFFER_DATA_MAGIC, fmt::join(names, ", "),
                       fmt::join(recordTexts, ",\n"), fmt::join(counts, ", "));
}

} // namespace orca::app

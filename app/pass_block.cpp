// SPDX-License-Identifier: Apache-2.0
#include "pass_block.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

std::string flagsText(const FrameBufferDataRecord& record) {
    std::string text;
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS)
        if (record.*flag.field) text += fmt::format("{}{}", text.empty() ? "" : " ", flag.name);
    return text;
}

} // namespace

int typeOfRecord(const FrameBufferData& block, int index) {
    const miInteger* counts = arrayElements(block.FrameBufferTypeCounts, block.i_FrameBufferTypeCounts);
    int end = 0;
    for (int type = 0; type < std::min(block.n_FrameBufferTypeCounts, PASS_TYPE_COUNT); ++type) {
        end += counts[type];
        if (index < end) return type;
    }
    return -1;
}

const FrameBufferData* passBlock(const scene::Database& database, const scene::CameraElement& camera) {
    for (miTag tag = camera.camera.userdata; tag != miNULLTAG;) {
        const auto* element = database.find<scene::UserdataElement>(tag);
        if (!element) return nullptr;
        const miUserdata* userdata = element->userdata();
        const auto* block = reinterpret_cast<const FrameBufferData*>(userdata->parameters());
        if (userdata->parameter_size >= static_cast<int>(sizeof(FrameBufferData)) &&
            block->magic == FRAME_BUFFER_DATA_MAGIC)
            return block;
        tag = userdata->next_data;
    }
    return nullptr;
}

std::map<std::string, std::map<std::string, std::string>> passMetadata(const scene::Database& database,
                                                                       const FrameBufferData& block) {
    std::map<std::string, std::map<std::string, std::string>> metadata;
    for (int i = 0; i < block.n_frameBufferInfo; ++i) {
        const FrameBufferDataRecord& record =
            arrayElements(block.frameBufferInfo, block.i_frameBufferInfo)[i];
        const auto* name = database.find<scene::StringElement>(record.frameBufferName);
        const int type = typeOfRecord(block, i);
        if (!name || type < 0) continue;
        metadata[name->text] = {
            {"passType", fmt::format("{} {}", type, passType(static_cast<PassTypeID>(type)).name)},
            {"passFlags", flagsText(record)},
            {"reflectionLevels", fmt::format("{} {}", record.minReflectionLevel, record.maxReflectionLevel)},
            {"refractionLevels", fmt::format("{} {}", record.minRefractionLevel, record.maxRefractionLevel)}};
    }
    return metadata;
}

} // namespace orca::app

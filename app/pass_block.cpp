// SPDX-License-Identifier: Apache-2.0
#include "pass_block.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

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
    std::int64_t end = 0;
    for (int type = 0; type < std::min(block.n_FrameBufferTypeCounts, PASS_TYPE_COUNT); ++type) {
        end += counts[type];
        if (index < end) return type;
    }
    return -1;
}

namespace {

const FrameBufferData* blockOf(const scene::UserdataElement& element) {
    return reinterpret_cast<const FrameBufferData*>(element.userdata()->parameters);
}

/// The data element that holds the camera's block, or null.
/// @param left out, by name
const scene::UserdataElement* passBlockElement(const scene::Database& database,
                                               const scene::CameraElement& camera,
                                               const std::string& left = {}) {
    for (miTag tag = camera.camera.userdata; tag != miNULLTAG;) {
        const auto* const element = database.find<scene::UserdataElement>(tag);
        if (!element) return nullptr;
        const miUserdata* const userdata = element->userdata();
        if (userdata->parameter_size >= static_cast<int>(sizeof(FrameBufferData)) &&
            blockOf(*element)->magic == FRAME_BUFFER_DATA_MAGIC && (left.empty() || element->name != left))
            return element;
        tag = userdata->next_data;
    }
    return nullptr;
}

} // namespace

const FrameBufferData* passBlock(const scene::Database& database, const scene::CameraElement& camera) {
    const scene::UserdataElement* const element = passBlockElement(database, camera);
    return element ? blockOf(*element) : nullptr;
}

const FrameBufferData* ownPassBlock(const scene::Database& database, const scene::CameraElement& camera) {
    const scene::UserdataElement* const element =
        passBlockElement(database, camera, camera.name + addedPassesName);
    return element ? blockOf(*element) : nullptr;
}

bool hasData(const scene::Database& database, const scene::CameraElement& camera,
             const scene::UserdataElement& data) {
    for (const auto* element = database.find<scene::UserdataElement>(camera.camera.userdata); element;
         element = database.find<scene::UserdataElement>(element->userdata()->next_data))
        if (element == &data) return true;
    return false;
}

bool PassLayout::isLike(const PassLayout& layout) const {
    const auto same = [](const TypedRecord& a, const TypedRecord& b) {
        return a.type == b.type && a.frameBuffer == b.frameBuffer;
    };
    return others == layout.others &&
           std::equal(records.begin(), records.end(), layout.records.begin(), layout.records.end(), same);
}

PassLayout layoutOf(const scene::Database& database, const FrameBufferData& found) {
    auto& block = const_cast<FrameBufferData&>(found);
    const auto nameOf = [&](miTag tag) {
        const auto* const element = database.find<scene::StringElement>(tag);
        return element ? element->text : std::string();
    };
    PassLayout layout;
    for (int i = 0; i < block.n_frameBufferInfo; ++i) {
        const FrameBufferDataRecord& record =
            arrayElements(block.frameBufferInfo, block.i_frameBufferInfo)[i];
        if (const int type = typeOfRecord(block, i); type >= 0)
            layout.records.push_back({static_cast<PassTypeID>(type), nameOf(record.frameBufferName), record});
    }
    for (int i = 0; i < block.n_nonMaterialFrameBuffers; ++i)
        layout.others.push_back(
            nameOf(arrayElements(block.nonMaterialFrameBuffers, block.i_nonMaterialFrameBuffers)[i]));
    return layout;
}

bool checkPassBlock(const scene::Database& database, const scene::CameraElement& camera, Log& log) {
    const scene::UserdataElement* const element = passBlockElement(database, camera);
    if (!element) return true;
    if (!isWhole(const_cast<FrameBufferData&>(*blockOf(*element)), element->userdata()->parameter_size)) {
        log.errorAt(element->location, "MAIN",
                    "the frame-buffer data block is damaged: its arrays reach beyond its end");
        return false;
    }
    if (!element->declaration) return true; // the counts of raw bytes are the library's to check
    const FrameBufferData& block = *blockOf(*element);
    const miInteger* const counts = arrayElements(block.FrameBufferTypeCounts, block.i_FrameBufferTypeCounts);
    const int types = std::clamp(block.n_FrameBufferTypeCounts, 0, PASS_TYPE_COUNT);
    const long counted = std::accumulate(counts, counts + types, 0L);
    if (counted == block.n_frameBufferInfo) return true;
    log.errorAt(
        element->location, "MAIN",
        "the counts of \"FrameBufferTypeCounts\" add up to {}, but \"frameBufferInfo\" has {} record{}; "
        "each of the {} counts says how many records its pass type has, in the order of --list-passes",
        counted, block.n_frameBufferInfo, block.n_frameBufferInfo == 1 ? "" : "s", PASS_TYPE_COUNT);
    return false;
}

std::map<std::string, image::Metadata> passMetadata(const scene::Database& database,
                                                    const FrameBufferData& block) {
    std::map<std::string, image::Metadata> metadata;
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

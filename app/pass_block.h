// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_block_text.h"

#include "image/metadata.h"
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <orcaFrameBufferRecords.h>

#include <map>
#include <string>
#include <vector>

namespace orca::app {

/// The camera's frame-buffer data block; null when it has none, or one of the other byte order.
[[nodiscard]] const FrameBufferData* passBlock(const scene::Database& database,
                                               const scene::CameraElement& camera);

/// The block that `--passes` gives to a camera has the camera's name and this.
inline constexpr const char* addedPassesName = ":passes";
/// The camera's block without what `--passes` has added; null as above.
[[nodiscard]] const FrameBufferData* ownPassBlock(const scene::Database& database,
                                                  const scene::CameraElement& camera);

/// True when the data is the camera's, or follows it.
[[nodiscard]] bool hasData(const scene::Database& database, const scene::CameraElement& camera,
                           const scene::UserdataElement& data);

/// Type of record `index`: records are in type order, as many of each type as its count. -1: beyond the
/// counts.
[[nodiscard]] int typeOfRecord(const FrameBufferData& block, int index);

/// What a block holds: its records, by type, and the frame buffers of utility passes, by pass index.
struct PassLayout {
    std::vector<TypedRecord> records;
    std::vector<std::string> others;

    [[nodiscard]] bool empty() const { return records.empty() && others.empty(); }
    /// Records of the same types and names, and the same others.
    [[nodiscard]] bool isLike(const PassLayout& layout) const;
};
[[nodiscard]] PassLayout layoutOf(const scene::Database& database, const FrameBufferData& block);

/// False, with an error, when the camera's block is damaged or does not have as many records as its counts
/// say. Before anything else reads the block.
[[nodiscard]] bool checkPassBlock(const scene::Database& database, const scene::CameraElement& camera,
                                  Log& log);

/// Type, flags and level bounds of each frame buffer that a pass feeds, as text for the file's metadata.
[[nodiscard]] std::map<std::string, image::Metadata> passMetadata(const scene::Database& database,
                                                                  const FrameBufferData& block);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/metadata.h"
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <orcaFrameBufferRecords.h>

#include <map>
#include <string>

namespace orca::app {

/// The camera's frame-buffer data block; null when it has none, or one of the other byte order.
[[nodiscard]] const FrameBufferData* passBlock(const scene::Database& database,
                                               const scene::CameraElement& camera);

/// Type of record `index`: records are in type order, as many of each type as its count. -1: beyond the
/// counts.
[[nodiscard]] int typeOfRecord(const FrameBufferData& block, int index);

/// False, with an error, when the camera's block is damaged or does not have as many records as its counts
/// say. Before anything else reads the block.
[[nodiscard]] bool checkPassBlock(const scene::Database& database, const scene::CameraElement& camera,
                                  Log& log);

/// Type, flags and level bounds of each frame buffer that a pass feeds, as text for the file's metadata.
[[nodiscard]] std::map<std::string, image::Metadata> passMetadata(const scene::Database& database,
                                                                  const FrameBufferData& block);

} // namespace orca::app

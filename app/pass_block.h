// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/elements/elements.h"

#include <orcaFrameBufferRecords.h>

#include <map>
#include <string>

namespace orca::app {

/// The camera's frame-buffer data block, in the database; null when it has none. A block that a machine of
/// the other byte order wrote does not count.
[[nodiscard]] const FrameBufferData* passBlock(const scene::Database& database,
                                               const scene::CameraElement& camera);

/// For each frame buffer that a pass feeds: its type, flags and level bounds as text, for the file's
/// metadata.
[[nodiscard]] std::map<std::string, std::map<std::string, std::string>>
passMetadata(const scene::Database& database, const FrameBufferData& block);

} // namespace orca::app

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"

#include <optional>
#include <string>

namespace orca::image {

/// Format word of the image library for an extension (with or without dot) or a scene's file type word;
/// nothing when the library cannot write such files.
[[nodiscard]] std::optional<std::string> writableFormat(std::string extensionOrWord);

/// Writes one buffer at the picture's full size (black outside the window), converted to `type`: integers
/// clamped to 0..1 with the frame's gamma on their colours. Formats without alpha lose it.
bool writeImageFile(const std::string& path, const std::string& format, const PictureFrame& frame,
                    const Layer& layer, miImg_type type, Log& log);

} // namespace orca::image

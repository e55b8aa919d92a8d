// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"

#include <optional>
#include <string>

namespace orca::image {

/// Format word of the image library for an extension (with or without dot) or a scene's file type word;
/// nothing when the library cannot write such files.
[[nodiscard]] std::optional<std::string> writableFormat(std::string extensionOrWord);

/// Writes one buffer at the picture's full size (black outside the window), converted to `type`: in whole
/// numbers by the frame's encoding. `quality` is 1 to 100, or 0 for the format's own. Formats without alpha
/// lose it.
bool writeImageFile(const std::string& path, const std::string& format, const PictureFrame& frame,
                    const Layer& layer, miImg_type type, int quality, Log& log);

} // namespace orca::image

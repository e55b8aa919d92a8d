// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"

#include <optional>
#include <string>

namespace orca::image {

// What ImageFormats says of the functions `writableFormat`, `writeImageFile` and `writePreview`.

[[nodiscard]] std::optional<std::string> encodableFormat(const std::string& extension);

bool encodePicture(const std::string& path, const std::string& format, const PictureFrame& frame,
                   const Layer& layer, miImg_type type, int quality, Log& log);

bool encodePreview(const std::string& path, const std::string& format, const PictureFrame& frame,
                   const Layer& layer, Log& log);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/image_reader.h"

#include <memory>
#include <string>

namespace orca::image {

/// See `openImage`.
[[nodiscard]] std::unique_ptr<ImageReader> openFile(const std::string& path);

} // namespace orca::image

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/make_texture.h"

#include <string>

namespace orca::image {

/// See `makeTextureFile`.
void makeTexture(const std::string& image, const std::string& file, const TextureFileSettings& settings);

} // namespace orca::image

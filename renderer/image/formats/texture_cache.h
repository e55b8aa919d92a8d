// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/textures.h"

#include <memory>
#include <string>
#include <vector>

namespace orca::image {

/// See `Textures`.
[[nodiscard]] std::unique_ptr<TextureCache> libraryTextures(Log& log, std::vector<std::string> searchPaths,
                                                            std::size_t cacheMegabytes);

/// See `isFilm`.
[[nodiscard]] bool isLibraryFilm(const std::string& path);

} // namespace orca::image

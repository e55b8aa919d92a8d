// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/picture_file.h"
#include "scene/elements/texture_element.h"

#include <string>

namespace orca::image {

/// Why light map shaders cannot fill this writable texture, as its statement has it; empty where they can. A
/// size that is missing is no reason.
[[nodiscard]] std::string whyNoLightMap(const scene::TextureElement& texture);

/// Where the file of a writable texture is written: relative names below `directory`, or, where that is
/// empty, beside the scene, where look-ups find it. Empty for a texture that has no file, or an unusable one.
/// @param frame replaces number signs of the name
[[nodiscard]] std::string lightMapPath(const scene::TextureElement& texture, const std::string& directory,
                                       int frame);

/// Writes what light map shaders have left in the texture to that path, in its colour profile and, where the
/// pixel format has alpha, multiplied by it. `like` says how many threads may help, and what stops it. False,
/// with a message, when it cannot be written.
bool writeLightMap(const scene::TextureElement& texture, const std::string& directory, int frame,
                   const PictureFrame& like, Log& log);

} // namespace orca::image

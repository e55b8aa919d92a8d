// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/layered_format.h"

#include <string>
#include <vector>

namespace orca::app {

/// Of the layered file's metadata, where it is not stored as usual: `textOf` its format.
inline constexpr const char* formatKey = "storedWith";

/// Reads "WORD" or "dwaa:LEVEL". Returns what is wrong with it, or nothing.
[[nodiscard]] std::string parseCompression(const std::string& text, image::ExrCompression& compression);

/// Reads "half" and "float" for all colours, and "LAYER=half" and "LAYER=float". Returns what is wrong with
/// the first that is none of these, or nothing.
[[nodiscard]] std::string parseTypes(const std::vector<std::string>& words, image::LayeredFormat& format);

/// The format as the options that ask for it; empty for the usual one.
[[nodiscard]] std::string textOf(const image::LayeredFormat& format);

/// What is wrong with the format for a picture of these layers: it names one that they lack, or that holds
/// labels. Nothing when all is well.
[[nodiscard]] std::string faultOfFormat(const image::LayeredFormat& format,
                                        const std::vector<const image::Buffer*>& layers);

} // namespace orca::app

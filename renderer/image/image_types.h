// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <string_view>

namespace orca::image {

/// Type of a data type word ("rgba_fp", "z"); miIMG_TYPE_INVALID for a word that names no supported type.
[[nodiscard]] miImg_type imageType(std::string_view word);
/// The word of a type; empty for miIMG_TYPE_INVALID.
[[nodiscard]] std::string_view imageTypeWord(miImg_type type);

/// 32-bit words that mi_fb_put and mi_fb_get exchange: 4 for colours, 3 for vectors, 1 for everything else.
[[nodiscard]] int componentCount(miImg_type type);
/// rgb and rgba of any precision.
[[nodiscard]] bool isColor(miImg_type type);
/// Colours without alpha.
[[nodiscard]] bool isOpaqueColor(miImg_type type);
/// Averages of neighbouring samples mean something: colours, scalars, coverage.
[[nodiscard]] bool isFiltered(miImg_type type);

/// How one number of a buffer is stored in files that can hold every kind.
enum class Storage { Byte, Word, Half, Float, Label };
[[nodiscard]] Storage storageOf(miImg_type type);

} // namespace orca::image

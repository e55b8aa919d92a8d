// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <span>
#include <string>
#include <string_view>

namespace orca::scene {

/// A word of the scene language and the code that records hold for it.
struct Word {
    std::string_view word;
    int code;
    std::string_view missing = {}; ///< what this renderer does not do of its meaning; empty: nothing
};
/// Words that one place of a statement accepts. Of words with one code the first is the usual one.
using Words = std::span<const Word>;

/// Null for a word that is not among them.
[[nodiscard]] const Word* findWord(Words words, std::string_view word);
/// The usual word of a code; empty for a code that has none.
[[nodiscard]] std::string_view wordOf(Words words, int code);
/// All usual words, for messages: "box, triangle, gauss".
[[nodiscard]] std::string listOf(Words words);

/// Pixel filters, by miFILTER_* code.
inline constexpr Word filterWords[] = {{"box", miFILTER_BOX},
                                       {"triangle", miFILTER_TRIANGLE},
                                       {"gauss", miFILTER_GAUSS},
                                       {"mitchell", miFILTER_MITCHELL},
                                       {"lanczos", miFILTER_LANCZOS}};

/// Shadow modes, by miSHADOW_* code.
inline constexpr Word shadowWords[] = {{"off", miSHADOW_OFF},         {"on", miSHADOW_SIMPLE},
                                       {"sort", miSHADOW_SORTED},     {"segments", miSHADOW_SEGMENTS},
                                       {"false", miSHADOW_OFF},       {"true", miSHADOW_SIMPLE},
                                       {"segment", miSHADOW_SEGMENTS}};

/// Sides of surfaces that are seen, by their code in records.
inline constexpr Word faceWords[] = {{"front", 'f'}, {"back", 'b'}, {"both", 'a'}};

/// Shapes of area lights, by miLIGHT_* code.
inline constexpr Word lightShapeWords[] = {{"rectangle", miLIGHT_RECTANGLE}, {"disc", miLIGHT_DISC},
                                           {"sphere", miLIGHT_SPHERE},       {"cylinder", miLIGHT_CYLINDER},
                                           {"object", miLIGHT_OBJECT},       {"user", miLIGHT_USER}};

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/words.h"

#include <algorithm>

namespace orca::scene {

const Word* findWord(Words words, std::string_view word) {
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const Word& each) { return each.word == word; });
    return found == words.end() ? nullptr : &*found;
}

std::string_view wordOf(Words words, int code) {
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const Word& each) { return each.code == code; });
    return found == words.end() ? std::string_view{} : found->word;
}

std::string listOf(Words words) {
    std::string list;
    for (const Word& each : words) {
        if (wordOf(words, each.code) != each.word) continue;
        if (!list.empty()) list += ", ";
        list += each.word;
    }
    return list;
}

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/option_statement.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orca::scene {

namespace {

std::string shown(double number) {
    return fmt::format("{:g}", number);
}

} // namespace

std::string NumberRange::text() const {
    const bool bounded = most < std::numeric_limits<double>::infinity();
    if (bounded && above) return fmt::format("above {} and at most {}", shown(least), shown(most));
    if (bounded) return fmt::format("from {} to {}", shown(least), shown(most));
    return fmt::format("{} {}", above ? "above" : "at least", shown(least));
}

std::string OptionStatement::problemOf(const OptionValues& values) const {
    for (int i = 0; i < values.count; ++i) {
        const double number = values.numbers[static_cast<std::size_t>(i)];
        if (!range.holds(number)) return fmt::format("must be {}, not {}", range.text(), shown(number));
    }
    if (ascending && values.count > 1 && values.numbers[0] > values.numbers[1]) {
        return fmt::format("has the lower number first, not {} before {}", shown(values.numbers[0]),
                           shown(values.numbers[1]));
    }
    return {};
}

std::string_view OptionStatement::missingOf(const OptionValues& values) const {
    const auto chosen = std::find_if(choices.begin(), choices.end(),
                                     [&](const Word& each) { return each.code == values.word; });
    if (chosen != choices.end() && !chosen->missing.empty()) return chosen->missing;
    if (values.flag && !flagMissing.empty()) return flagMissing;
    const bool statesDefault = values == defaults && (!choices.empty() || most > 0);
    return statesDefault ? std::string_view{} : missing;
}

std::string OptionStatement::expected() const {
    std::string text = listOf(choices);
    if (most > 0) {
        const char* kind = integers >= most ? "integer" : "number";
        if (!text.empty()) text += " and ";
        text += fewest == most ? fmt::format("{} {}", most, kind)
                               : fmt::format("{} to {} {}", fewest, most, kind);
        if (most > 1) text += 's';
    }
    return text;
}

std::string parseOption(const OptionStatement& statement, std::span<const std::string> words,
                        OptionValues& values) {
    values = {};
    const auto refused = [&](std::string_view text) {
        return fmt::format("takes {}, not \"{}\"", statement.expected(), text);
    };
    if (!statement.choices.empty()) {
        const Word* chosen = words.empty() ? nullptr : findWord(statement.choices, words.front());
        if (!chosen) return refused(words.empty() ? std::string_view{} : words.front());
        values.word = chosen->code;
        words = words.subspan(1);
    }
    for (const std::string& word : words) {
        if (!statement.flag.empty() && word == statement.flag && values.count == 0) {
            values.flag = true;
            continue;
        }
        if (values.count == statement.most) return refused(word);
        double number = 0.0;
        const char* end = word.data() + word.size();
        std::from_chars_result read{};
        if (values.count < statement.integers) {
            int integer = 0;
            read = std::from_chars(word.data(), end, integer);
            number = integer;
        } else {
            read = std::from_chars(word.data(), end, number);
        }
        if (read.ec != std::errc() || read.ptr != end || !std::isfinite(number)) return refused(word);
        values.numbers[static_cast<std::size_t>(values.count++)] = number;
    }
    if (values.count < statement.fewest) return fmt::format("takes {}", statement.expected());
    return statement.problemOf(values);
}

} // namespace orca::scene

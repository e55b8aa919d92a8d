// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/elements/words.h"

#include <array>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace orca::scene {

struct OptionsElement;

/// What a statement of an options block gives, in the scene or on the command line.
struct OptionValues {
    int word = 0;                    ///< code of its word
    bool flag = false;               ///< the optional word before the numbers is there
    int count = 0;                   ///< of its numbers
    std::array<double, 4> numbers{}; ///< integers are exact

    [[nodiscard]] float at(int index) const {
        return static_cast<float>(numbers[static_cast<std::size_t>(index)]);
    }
    [[nodiscard]] int integer(int index) const {
        return static_cast<int>(numbers[static_cast<std::size_t>(index)]);
    }
    bool operator==(const OptionValues&) const = default;
};

/// Numbers from `least` to `most`, both included unless `above` leaves out the least.
struct NumberRange {
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    bool above = false;

    [[nodiscard]] bool holds(double number) const {
        return number >= least && number <= most && !(above && number == least);
    }
    /// "from 1 to 128", "at least 0", "above 0".
    [[nodiscard]] std::string text() const;
};

/// One statement of an options block: how it is read, what it may hold and what it does. The reader of
/// scenes, the command line and the defaults of options all go by it.
///
/// A statement is its words, one word of `choices` where there are any, the word `flag` where it is given,
/// and numbers.
struct OptionStatement {
    enum class Form {
        Values, ///< as above
        Text,   ///< a string, which has no effect
        Own,    ///< shaders, buffers and what else only the reader can read
        Rest    ///< everything up to the next statement, without effect
    };

    std::string_view words; ///< one to three, with blanks between them
    Form form = Form::Values;
    Words choices = {};
    std::string_view flag = {};
    std::string_view flagMissing = {}; ///< as `missing`, of the flag
    int fewest = 0, most = 0;          ///< numbers
    int integers = 0;                  ///< so many of the first numbers are integers
    NumberRange range = {};            ///< of every number
    bool ascending = false;            ///< the second number is not below the first
    OptionValues defaults = {};
    void (*set)(OptionsElement&, const OptionValues&) = nullptr; ///< null: without effect
    std::string_view missing = {}; ///< why values other than the defaults have no effect, or not all of it
    LogLevel level = LogLevel::Warning; ///< of the message about that: Info where no picture would change

    /// What is wrong with the values, as "must be from 1 to 128, not 129"; empty when they are good.
    [[nodiscard]] std::string problemOf(const OptionValues& values) const;
    /// What of the values has no effect; empty when all of them have theirs.
    [[nodiscard]] std::string_view missingOf(const OptionValues& values) const;
    /// What follows the words, as "on or off", "1 to 2 integers".
    [[nodiscard]] std::string expected() const;
};

/// Values from the words of a command line. Returns what is wrong with them, empty when nothing is.
[[nodiscard]] std::string parseOption(const OptionStatement& statement, std::span<const std::string> words,
                                      OptionValues& values);

} // namespace orca::scene

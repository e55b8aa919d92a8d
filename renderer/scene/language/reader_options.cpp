// SPDX-License-Identifier: Apache-2.0
#include "base/nearest_name.h"
#include "scene/elements/option_statements.h"
#include "scene/language/reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace orca::scene {

namespace {

/// The first of the words, and those after it.
std::pair<std::string_view, std::string_view> firstWord(std::string_view words) {
    const std::size_t blank = std::min(words.find(' '), words.size());
    return {words.substr(0, blank), words.substr(std::min(blank + 1, words.size()))};
}

bool beginsOption(const Token& token) {
    const auto statements = optionStatements();
    return token.kind == Token::Kind::Symbol &&
           std::any_of(statements.begin(), statements.end(), [&](const OptionStatement& each) {
               return firstWord(each.words).first == token.text;
           });
}

} // namespace

void Reader::readOptions(const Token& token, bool incremental) {
    auto& element = target<OptionsElement>(token, miSCENE_OPTIONS, incremental);
    const Definition defined(*this, token, element.tag);
    while (!endsBlock("options", element.name)) {
        const Token word = next();
        if (word.kind == Token::Kind::String) {
            readStringOption(element, word);
        } else {
            readOptionStatement(element, word);
        }
    }
}

void Reader::readStringOption(OptionsElement& element, const Token& option) {
    const std::string key(option.text);
    if (const std::optional<bool> value = acceptBoolean()) {
        element.strings[key] = *value;
    } else if (atString()) {
        element.strings[key] = std::string(next().text);
    } else if (atNumber()) {
        const Token first = next();
        std::vector<float> numbers{first.number};
        while (numbers.size() < 4 && atNumber()) numbers.push_back(next().number);
        if (numbers.size() > 2) {
            element.strings[key] = numbers;
        } else if (numbers.size() == 2) {
            fail(option, "string option \"{}\" has 2 numbers; it takes 1, 3 or 4", key);
        } else if (first.kind == Token::Kind::Integer && first.fitsInteger) {
            element.strings[key] = first.integer;
        } else {
            element.strings[key] = first.number;
        }
    } else {
        fail(peek(), "string option \"{}\" needs a boolean, a string or numbers, not {}", key,
             peek().shown());
    }
}

/// Reads the words of a statement, the longest that fit: the first, `token`, has been read. Null for an
/// unknown first word.
const OptionStatement* Reader::readOptionWords(const Token& token) {
    const OptionStatement* best = nullptr;
    std::size_t most = 0; // words that fit
    bool whole = false;   // all words of the best fit
    for (const OptionStatement& statement : optionStatements()) {
        auto [word, rest] = firstWord(statement.words);
        if (word != token.text) continue;
        std::size_t fitting = 1;
        for (std::tie(word, rest) = firstWord(rest); !word.empty() && peek(fitting - 1).isWord(word);
             std::tie(word, rest) = firstWord(rest)) {
            ++fitting;
        }
        const bool fits = word.empty();
        if (fitting < most || (fitting == most && (whole || !fits))) continue;
        best = &statement;
        most = fitting;
        whole = fits;
    }
    for (std::size_t i = 1; i < most; ++i) next();
    if (!best || whole) return best;
    // "task 32" is clear; "camera" is not.
    if (best->most > 0 && atNumber()) return best;
    fail(peek(), "expected \"{}\", not \"{}\" and {}", best->words, token.text, peek().shown());
}

OptionValues Reader::readOptionValues(const OptionStatement& statement) {
    OptionValues values;
    const auto refuse = [&] {
        fail(peek(), "expected {} after \"{}\", not {}", statement.expected(), statement.words,
             peek().shown());
    };
    if (!statement.choices.empty()) {
        const Word* chosen =
            peek().kind == Token::Kind::Symbol ? findWord(statement.choices, peek().text) : nullptr;
        if (!chosen) refuse();
        next();
        values.word = chosen->code;
    }
    if (!statement.flag.empty()) values.flag = accept(statement.flag);
    while (values.count < statement.most) {
        const Token& token = peek();
        const bool fits = values.count < statement.integers
                              ? token.kind == Token::Kind::Integer && token.fitsInteger
                              : token.isNumber();
        if (!fits) break;
        values.numbers[static_cast<std::size_t>(values.count)] =
            values.count < statement.integers ? token.integer : static_cast<double>(token.number);
        ++values.count;
        next();
    }
    if (values.count < statement.fewest) refuse();
    return values;
}

void Reader::readOptionStatement(OptionsElement& element, const Token& token) {
    const SourceLocation location = locationOf(token);
    const std::string owner = fmt::format("options \"{}\"", element.name);
    const OptionStatement* const statement =
        token.kind == Token::Kind::Symbol ? readOptionWords(token) : nullptr;
    if (!statement) {
        std::vector<std::string_view> words;
        for (const OptionStatement& each : optionStatements()) words.push_back(firstWord(each.words).first);
        const std::string nearest = nearestName(token.text, words);
        error(location, "{}: unknown statement {}{}", owner, token.shown(),
              nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
        skipToOption();
        return;
    }
    OptionValues values;
    bool isOff = false;
    switch (statement->form) {
    case OptionStatement::Form::Values: {
        const SourceLocation at = locationOf(peek());
        values = readOptionValues(*statement);
        if (const std::string problem = statement->problemOf(values); !problem.empty()) {
            error(at, "{}: \"{}\" {}", owner, statement->words, problem);
            return;
        }
        if (statement->set) statement->set(element, values);
        break;
    }
    case OptionStatement::Form::Text: string("a file"); break;
    case OptionStatement::Form::Own: readOwnOption(element, *statement, location); break;
    case OptionStatement::Form::Rest: isOff = skipOptionRest(); break;
    }
    const std::string_view missing = statement->missingOf(values);
    if (!missing.empty() && !isOff)
        withoutEffect(statement->level, location, owner, statement->words, missing);
}

/// Words of such a statement may begin statements of their own ("bsp shadow", "diagnostic samples"). True
/// when it switches something off.
bool Reader::skipOptionRest() {
    bool isOff = false;
    const auto skip = [&] {
        isOff |= peek().isWord("off") || peek().isWord("false");
        next();
    };
    if (peek().kind == Token::Kind::Symbol && !peek().isWord("end")) skip();
    for (;;) {
        const Token& token = peek();
        if (token.kind == Token::Kind::End || token.isWord("end") || atString() || beginsOption(token))
            return isOff;
        skip();
    }
}

void Reader::skipToOption() {
    for (;;) {
        const Token& token = peek();
        if (token.kind == Token::Kind::End || token.isWord("end") || atString() || beginsOption(token))
            return;
        next();
    }
}

void Reader::readOwnOption(OptionsElement& element, const OptionStatement& statement,
                           const SourceLocation& location) {
    const std::string owner = fmt::format("options \"{}\"", element.name);
    const std::string_view word = statement.words;
    if (word == "frame buffer") {
        readFramebufferOption(element, location);
    } else if (word == "state") {
        ShaderUse use{owner, element.name};
        use.existing = element.options.state_func;
        element.options.state_func = requiredShaderList(use, use.owner + ", state");
    } else if (word == "data") {
        element.options.userdata = dataReference();
    } else if (word == "approximate") {
        if (const auto approximation = readApproximation()) element.approximation = approximation;
        skipToOption();
    } else if (word == "contour") {
        if (!accept("store")) accept("contrast");
        while (atShader()) readShader({owner}, miNULLTAG);
    } else if (atShader()) { // inheritance, traversal
        readShader({owner}, miNULLTAG);
    } else {
        name("the inheritance function");
    }
}

void Reader::readFramebufferOption(OptionsElement& element, const SourceLocation& location) {
    NumberedFramebuffer buffer;
    buffer.number = integer("the frame buffer's number");
    buffer.location = location;
    if (atString() && !peek(1).is('(')) {
        std::string type(next().text);
        if (!type.empty() && (type[0] == '+' || type[0] == '-')) {
            buffer.interpolate = type[0] == '+';
            type.erase(0, 1);
        }
        buffer.datatype = type;
    }
    const auto same =
        std::find_if(element.framebuffers.begin(), element.framebuffers.end(),
                     [&](const NumberedFramebuffer& other) { return other.number == buffer.number; });
    if (same == element.framebuffers.end()) {
        element.framebuffers.push_back(std::move(buffer));
    } else {
        *same = std::move(buffer);
    }
}

} // namespace orca::scene

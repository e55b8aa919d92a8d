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

/// Whether several statements begin with this word.
bool isFamily(std::string_view word) {
    const auto statements = optionStatements();
    return std::count_if(statements.begin(), statements.end(), [&](const OptionStatement& each) {
               return firstWord(each.words).first == word;
           }) > 1;
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
        element.named.values[key] = *value;
    } else if (atString()) {
        element.named.values[key] = std::string(next().text);
    } else if (atNumber()) {
        const Token first = next();
        std::vector<float> numbers{first.number};
        while (numbers.size() < 4 && atNumber()) numbers.push_back(next().number);
        if (numbers.size() > 2) {
            element.named.values[key] = numbers;
        } else if (numbers.size() == 2) {
            ignoredOption(element, option, "it takes 1, 3 or 4 numbers");
        } else if (first.kind == Token::Kind::Integer && first.fitsInteger) {
            element.named.values[key] = first.integer;
        } else {
            element.named.values[key] = first.number;
        }
    } else {
        ignoredOption(element, option, "it takes a boolean, a string or numbers");
    }
}

/// Reads on to the next statement, and says what is left out from `first` on: in a warning, as there are
/// settings of all kinds that change no picture here.
void Reader::ignoredOption(const OptionsElement& element, const Token& first, std::string_view reason) {
    constexpr std::size_t longest = 100;
    const auto written = [](const Token& token) {
        return token.kind == Token::Kind::String ? fmt::format("\"{}\"", token.text)
                                                 : std::string(token.text);
    };
    std::string text = written(first);
    while (!atOption()) {
        const Token token = next();
        if (text.size() < longest) text += ' ' + written(token);
        if (token.kind == Token::Kind::Backquote) stream_.skipBinary();
    }
    once(strictly(LogLevel::Warning), locationOf(first), "ignored option " + text,
         fmt::format("options \"{}\": {} is ignored: {}", element.name, text, reason));
}

/// Before the next statement of the block, or its end.
bool Reader::atOption() {
    const Token& token = peek();
    if (token.kind == Token::Kind::End || token.isWord("end")) return true;
    if (block_ == "view" && atCameraStatement()) return true;
    if (token.kind == Token::Kind::String) { // a string option, or the argument of what is ignored
        const Token& value = peek(1);
        return value.isNumber() || value.kind == Token::Kind::String || value.isWord("on") ||
               value.isWord("off") || value.isWord("true") || value.isWord("false");
    }
    if (token.kind != Token::Kind::Symbol) return false;
    const auto statements = optionStatements();
    return std::any_of(statements.begin(), statements.end(), [&](const OptionStatement& each) {
        auto [word, rest] = firstWord(each.words);
        std::size_t ahead = 0;
        while (!word.empty() && peek(ahead).isWord(word)) {
            std::tie(word, rest) = firstWord(rest);
            ++ahead;
        }
        return word.empty();
    });
}

/// Reads the words of a statement, the longest that fit: the first, `token`, has been read. Null for unknown
/// ones.
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
    if (!best || (!whole && most > 1)) return nullptr;
    for (std::size_t i = 1; i < most; ++i) next();
    if (whole) return best;
    // "task 32" is clear; "camera" is not.
    return best->most > 0 && atNumber() ? best : nullptr;
}

/// Returns what is wrong with the values, empty when nothing is.
std::string Reader::readOptionValues(const OptionStatement& statement, OptionValues& values) {
    const auto refused = [&] {
        return fmt::format("expected {} after \"{}\", not {}", statement.expected(), statement.words,
                           peek().shown());
    };
    const auto readFlag = [&] { values.flag |= !statement.flag.empty() && accept(statement.flag); };
    readFlag();
    if (!statement.choices.empty()) {
        const Word* chosen =
            peek().kind == Token::Kind::Symbol ? findWord(statement.choices, peek().text) : nullptr;
        if (!chosen) return refused();
        next();
        values.word = chosen->code;
    }
    readFlag();
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
    return values.count < statement.fewest ? refused() : std::string();
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
        ignoredOption(element, token,
                      nearest.empty() || nearest == token.text
                          ? "it is not known here"
                          : fmt::format("it is not known here (did you mean \"{}\"?)", nearest));
        return;
    }
    OptionValues values;
    bool isOff = false;
    switch (statement->form) {
    case OptionStatement::Form::Values: {
        const Token atValues = peek();
        const SourceLocation at = locationOf(atValues);
        const bool otherWord = atValues.kind == Token::Kind::Symbol && isFamily(statement->words);
        if (const std::string refused = readOptionValues(*statement, values); !refused.empty()) {
            if (otherWord || !statement->set) {
                // The word may begin a statement of its own elsewhere, but not here.
                Token words = token;
                const std::string text = otherWord ? fmt::format("{} {}", statement->words, next().text)
                                                   : std::string(statement->words);
                words.text = text;
                ignoredOption(element, words, "it is not known here");
            } else {
                error(locationOf(peek()), "{}", refused);
                skipToOption();
            }
            return;
        }
        if (atNumber())
            ignoredOption(element, next(),
                          fmt::format("\"{}\" takes {}", statement->words, statement->expected()));
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
    while (!atOption()) skip();
    return isOff;
}

void Reader::skipToOption() {
    while (!atOption()) next();
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
        ApproximateStatement given = readApproximation();
        if (const auto approximation = ofPolygons(given)) element.approximation = approximation;
        if (given.part != ApproximateStatement::Part::Polygons) {
            given.names.clear();
            element.surfaceApproximations.push_back(std::move(given));
        }
        skipToOption();
    } else if (word == "contour") {
        miTag& shader = readContourPart(element.options.contour_store, element.options.contour_contrast);
        shader = requiredShaderList({owner, element.name}, owner + ", contour");
    } else if (atShader()) { // inheritance, traversal
        readShader({owner}, miNULLTAG);
    } else {
        name("the inheritance function");
    }
}

/// Which shader follows: the word after `contour` says it.
miTag& Reader::readContourPart(miTag& store, miTag& contrast) {
    if (accept("store")) return store;
    if (accept("contrast")) return contrast;
    fail(peek(), "expected \"contour store\" or \"contour contrast\", not \"contour\" and {}",
         peek().shown());
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

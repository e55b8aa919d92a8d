// SPDX-License-Identifier: Apache-2.0
#include "scene/language/token_reader.h"

#include "scene/elements/file_pattern.h"

#include <filesystem>

namespace orca::scene {

TokenReader::TokenReader(Scene& scene, const ParserOptions& options)
    : scene_(scene),
      options_(options),
      log_(scene.log_),
      memory_(*scene.memory_),
      stream_(memory_.variables, options, scene.files_) {
}

void TokenReader::countError(const SourceLocation& location, const std::string& text) {
    log_.writeAt(location, LogLevel::Error, "SCEN", "{}", text);
    if (++scene_.errors_ < options_.maximumErrors) return;
    log_.writeAt(location, LogLevel::Error, "SCEN", "{} errors, reading stops here", scene_.errors_);
    throw StopReading{};
}

void TokenReader::unsupported(LogLevel level, const SourceLocation& location, const std::string& construct,
                              const std::string& text) {
    once(strictly(level), location, construct + '|' + location.file, text);
}

LogLevel TokenReader::strictly(LogLevel level) const {
    return options_.strict && level == LogLevel::Warning ? LogLevel::Error : level;
}

void TokenReader::once(LogLevel level, const SourceLocation& location, const std::string& key,
                       const std::string& text) {
    if (!memory_.logged.insert(key).second) return;
    if (level == LogLevel::Error) {
        countError(location, text);
    } else {
        log_.writeAt(location, level, "SCEN", "{}", text);
    }
}

bool TokenReader::accept(char mark) {
    if (!peek().is(mark)) return false;
    next();
    return true;
}

bool TokenReader::accept(std::string_view word) {
    if (!peek().isWord(word)) return false;
    next();
    return true;
}

void TokenReader::expect(char mark, std::string_view after) {
    if (!accept(mark)) fail(peek(), "expected \"{}\" after {}, not {}", mark, after, peek().shown());
}

void TokenReader::expectEnd(std::string_view kind) {
    if (!peek().isWord("end")) fail(peek(), "expected \"end {}\", not {}", kind, peek().shown());
    next();
    if (!accept(kind)) fail(peek(), "expected \"end {}\", not \"end\" and {}", kind, peek().shown());
}

Token TokenReader::nameToken(std::string_view of) {
    if (!peek().isName()) fail(peek(), "expected the name of {}, not {}", of, peek().shown());
    return next();
}

std::string TokenReader::name(std::string_view of) {
    return std::string(nameToken(of).text);
}

std::string TokenReader::string(std::string_view of) {
    if (!atString()) fail(peek(), "expected {} as a quoted string, not {}", of, peek().shown());
    return std::string(next().text);
}

int TokenReader::integer(std::string_view of) {
    if (peek().kind != Token::Kind::Integer)
        fail(peek(), "expected {} as an integer, not {}", of, peek().shown());
    if (!peek().fitsInteger) fail(peek(), "{} does not fit 32 bits, as {} must", peek().text, of);
    return next().integer;
}

int TokenReader::positiveInteger(std::string_view of) {
    const Token token = peek();
    const int value = integer(of);
    if (value <= 0) fail(token, "{} must be positive, not {}", of, value);
    return value;
}

float TokenReader::number(std::string_view of) {
    if (!atNumber()) fail(peek(), "expected {} as a number, not {}", of, peek().shown());
    return next().number;
}

miVector TokenReader::vector(std::string_view of) {
    const float x = number(of), y = number(of), z = number(of);
    return {x, y, z};
}

std::array<float, 16> TokenReader::matrix(std::string_view of) {
    std::array<float, 16> elements;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (!atNumber()) fail(peek(), "{} has {} of 16 numbers, then {}", of, i, peek().shown());
        elements[i] = next().number;
    }
    return elements;
}

std::optional<bool> TokenReader::acceptBoolean() {
    const Token& token = peek();
    if (token.isWord("on") || token.isWord("true")) return next(), true;
    if (token.isWord("off") || token.isWord("false")) return next(), false;
    return {};
}

bool TokenReader::boolean(std::string_view of) {
    const std::optional<bool> value = acceptBoolean();
    if (!value) fail(peek(), "expected \"on\" or \"off\" for {}, not {}", of, peek().shown());
    return *value;
}

std::optional<int> TokenReader::acceptInteger() {
    if (peek().kind != Token::Kind::Integer || !peek().fitsInteger) return {};
    return next().integer;
}

std::string TokenReader::fileNameIn(const Token& text, Written written) {
    std::string unknown;
    std::string file;
    try {
        file = memory_.variables.substituted(text.text, &unknown);
    } catch (const SubstitutionError& fault) {
        fail(text, "\"{}\": {}", text.text, fault.what());
    }
    if (!unknown.empty()) {
        error(locationOf(text), "\"{}\" names the registry entry \"{{{}}}\", which is not defined", text.text,
              unknown);
    }
    if (stream_.writer() && written == Written::Yes) stream_.writer()->replaceString(file);
    return file;
}

std::string TokenReader::inputFileIn(const Token& text) {
    namespace fs = std::filesystem;
    const std::string file = fileNameIn(text);
    if (!stream_.writer() || file.empty()) return file;
    // The file that is written may lie elsewhere. What is found on a search path is found there again.
    const fs::path found = fs::path(stream_.directory()) / file;
    std::error_code ignored;
    if (fs::exists(found, ignored) || hasFramePattern(file) || hasTilePattern(file))
        stream_.writer()->replaceString(fs::absolute(found).lexically_normal().string());
    return file;
}

void TokenReader::skipInterface() {
    if (stream_.writer()) stream_.writer()->discardLine();
    const SceneWriter::Pause pause(stream_.writer());
    if (atString() || (peek().kind == Token::Kind::Symbol && (peek(1).is('{') || peek(1).is('(')))) next();
    if (peek().is('(')) skipBalanced();
    if (peek().is('{')) skipBalanced();
}

void TokenReader::skipBalanced() {
    int depth = 0;
    do {
        Token token;
        try {
            token = next();
        } catch (const ReadingStopped&) {
            throw;
        } catch (const SyntaxError&) {
            continue; // skipped text needs no message
        }
        if (token.kind == Token::Kind::End) return;
        if (token.is('(') || token.is('[') || token.is('{')) ++depth;
        if (token.is(')') || token.is(']') || token.is('}')) --depth;
        if (token.kind == Token::Kind::Backquote) stream_.skipBinary();
    } while (depth > 0);
}

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/language/lexer.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace orca::scene {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool startsWord(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool continuesWord(char c) {
    return startsWord(c) || isDigit(c);
}
bool continuesNumber(char c) {
    return continuesWord(c) || c == '.' || c == '+' || c == '-';
}

int hexDigit(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// The number that [first, last) spells out as a whole. A sign may be plus, which from_chars does not know.
bool readFloat(const char* first, const char* last, float& value) {
    if (first != last && *first == '+') {
        ++first;
        if (first != last && *first == '-') return false;
    }
    const auto [end, fault] = std::from_chars(first, last, value);
    if (end != last) return false;
    if (fault == std::errc{}) return true;
    // Out of range: what is too small is zero or denormal, what is too large is no number that a scene can
    // use.
    const double wide = std::strtod(std::string(first, last).c_str(), nullptr);
    value = static_cast<float>(wide);
    return std::isfinite(value);
}

std::string shownText(std::string_view text) {
    constexpr std::size_t longest = 60;
    std::string result;
    for (const char c : text.substr(0, longest)) {
        result += static_cast<unsigned char>(c) < 32 || c == 127 ? '?' : c;
    }
    return text.size() > longest ? result + "..." : result;
}

} // namespace

std::string Token::shown() const {
    switch (kind) {
    case Kind::End: return "the end of the file";
    case Kind::String: return fmt::format("the string \"{}\"", shownText(text));
    case Kind::Integer:
    case Kind::Float: return fmt::format("the number {}", shownText(text));
    case Kind::Bytes: return "a byte string";
    case Kind::Backquote: return "a binary block";
    case Kind::Command: return fmt::format("${}", shownText(text));
    case Kind::Symbol:
    case Kind::Mark: break;
    }
    return fmt::format("\"{}\"", shownText(text));
}

Lexer::Lexer(std::string fileName, std::string text, std::uint16_t source)
    : fileName_(std::move(fileName)),
      text_(std::move(text)),
      source_(source),
      cursor_(text_.data()),
      end_(text_.data() + text_.size()),
      lineStart_(cursor_) {
}

SourceLocation Lexer::here() const {
    return {fileName_, static_cast<int>(line_), static_cast<int>(column())};
}

SourceLocation Lexer::locationOf(const Token& token) const {
    return {fileName_, static_cast<int>(token.line), static_cast<int>(token.column)};
}

void Lexer::skipSpace() {
    for (; cursor_ != end_; ++cursor_) {
        const char c = *cursor_;
        if (c == '\n') {
            ++line_;
            lineStart_ = cursor_ + 1;
        } else if (c == '#') {
            const void* newline = std::memchr(cursor_, '\n', end_ - cursor_);
            if (!newline) {
                cursor_ = end_;
                return;
            }
            cursor_ = static_cast<const char*>(newline) - 1;
        } else if (!isSpace(c)) {
            return;
        }
    }
}

bool Lexer::atEnd() {
    skipSpace();
    return cursor_ == end_;
}

bool Lexer::atNumber() const {
    const char* c = cursor_;
    if (c != end_ && (*c == '-' || *c == '+')) ++c;
    if (c != end_ && *c == '.') ++c;
    return c != end_ && isDigit(*c);
}

Token Lexer::next() {
    skipSpace();
    Token token;
    token.source = source_;
    token.line = line_;
    token.column = column();
    if (cursor_ == end_) return token;
    const char c = *cursor_;
    const char* start = cursor_;
    if (c == '"') {
        lexString(token);
    } else if (startsWord(c)) {
        while (cursor_ != end_ && continuesWord(*cursor_)) ++cursor_;
        token.kind = Token::Kind::Symbol;
        token.text = {start, static_cast<std::size_t>(cursor_ - start)};
    } else if (atNumber()) {
        lexNumber(token);
    } else if (c == '\'') {
        lexBytes(token);
    } else if (c == '`') {
        ++cursor_;
        token.kind = Token::Kind::Backquote;
        token.text = {start, 1};
    } else if (c == '$' && token.column == 1) {
        ++cursor_;
        const char* word = cursor_;
        while (cursor_ != end_ && continuesWord(*cursor_)) ++cursor_;
        token.kind = Token::Kind::Command;
        token.text = {word, static_cast<std::size_t>(cursor_ - word)};
    } else if (std::strchr("()[]{},=", c) && c != '\0') {
        ++cursor_;
        token.kind = Token::Kind::Mark;
        token.text = {start, 1};
    } else {
        ++cursor_;
        const SourceLocation location = locationOf(token);
        if (c == '$') throw SyntaxError(location, "\"$\" starts a command only in the first column");
        if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) >= 127) {
            throw SyntaxError(location, fmt::format("byte {:#04x} cannot stand here; is this a scene file?",
                                                    static_cast<unsigned char>(c)));
        }
        throw SyntaxError(location, fmt::format("unexpected character \"{}\"", c));
    }
    return token;
}

void Lexer::lexString(Token& token) {
    const char* start = ++cursor_;
    bool escapes = false;
    const char* firstNewline = nullptr;
    const char* lastLine = lineStart_;
    std::uint32_t lines = 0;
    for (; cursor_ != end_ && *cursor_ != '"'; ++cursor_) {
        if (*cursor_ == '\n') {
            if (lines++ == 0) firstNewline = cursor_;
            lastLine = cursor_ + 1;
        }
        if (*cursor_ == '\\' && cursor_ + 1 != end_ && (cursor_[1] == '"' || cursor_[1] == '\\')) {
            escapes = true;
            ++cursor_;
        }
    }
    token.kind = Token::Kind::String;
    token.text = {start, static_cast<std::size_t>(cursor_ - start)};
    // Strings may go on over lines. A quote on a later line that a word follows at once opens a string, so
    // this one lacks its own.
    const bool opensAnother = firstNewline && end_ - cursor_ > 1 && continuesWord(cursor_[1]);
    if (cursor_ == end_ || opensAnother) {
        if (firstNewline) cursor_ = firstNewline;
        throw SyntaxError(locationOf(token), "the string has no closing quote");
    }
    ++cursor_;
    line_ += lines;
    lineStart_ = lastLine;
    if (!escapes) return;
    std::string& resolved = unescaped_.emplace_back();
    for (std::size_t i = 0; i < token.text.size(); ++i) {
        if (token.text[i] == '\\' && i + 1 < token.text.size() &&
            (token.text[i + 1] == '"' || token.text[i + 1] == '\\')) {
            ++i;
        }
        resolved += token.text[i];
    }
    token.text = resolved;
}

void Lexer::lexNumber(Token& token) {
    const char* start = cursor_;
    while (cursor_ != end_ && continuesNumber(*cursor_)) ++cursor_;
    token.text = {start, static_cast<std::size_t>(cursor_ - start)};
    const char* digits = *start == '-' || *start == '+' ? start + 1 : start;
    bool whole = digits != cursor_;
    for (const char* c = digits; c != cursor_; ++c) whole = whole && isDigit(*c);
    token.kind = whole ? Token::Kind::Integer : Token::Kind::Float;
    if (whole) {
        const char* first = *start == '+' ? start + 1 : start;
        token.fitsInteger = std::from_chars(first, cursor_, token.integer).ec == std::errc{};
    }
    if (!readFloat(start, cursor_, token.number)) {
        throw SyntaxError(locationOf(token),
                          fmt::format("\"{}\" is not a number, or too large for one", shownText(token.text)));
    }
}

void Lexer::lexBytes(Token& token) {
    const char* start = ++cursor_;
    for (; cursor_ != end_ && *cursor_ != '\''; ++cursor_) {
        if (*cursor_ == '\n') {
            ++line_;
            lineStart_ = cursor_ + 1;
        }
    }
    token.kind = Token::Kind::Bytes;
    token.text = {start, static_cast<std::size_t>(cursor_ - start)};
    if (cursor_ == end_) throw SyntaxError(locationOf(token), "the byte string has no closing quote");
    ++cursor_;
}

bool Lexer::nextNumber(float& value) {
    skipSpace();
    if (!atNumber()) return false;
    const char* stop = cursor_ + 1;
    while (stop != end_ && continuesNumber(*stop)) ++stop;
    if (!readFloat(cursor_, stop, value)) return false;
    cursor_ = stop;
    return true;
}

bool Lexer::nextInteger(std::int32_t& value) {
    skipSpace();
    const char* first = cursor_ != end_ && *cursor_ == '+' ? cursor_ + 1 : cursor_;
    std::int32_t read = 0;
    const auto [stop, fault] = std::from_chars(first, end_, read);
    if (fault != std::errc{} || (stop != end_ && continuesNumber(*stop))) return false;
    value = read;
    cursor_ = stop;
    return true;
}

std::string_view Lexer::binary(std::size_t size, const char* what) {
    const SourceLocation location = here();
    const std::size_t left = static_cast<std::size_t>(end_ - cursor_);
    if (left <= size) {
        cursor_ = end_;
        throw SyntaxError(location,
                          fmt::format("{} needs {} bytes and a closing backquote, but the file ends after {}",
                                      what, size, left));
    }
    if (cursor_[size] != '`') {
        throw SyntaxError(location,
                          fmt::format("{} is not closed by a backquote after its {} bytes", what, size));
    }
    const std::string_view bytes(cursor_, size);
    // Newline bytes inside do not count as lines, as no editor shows them reliably; the line's start moves
    // along.
    cursor_ += size + 1;
    lineStart_ = cursor_;
    return bytes;
}

bool Lexer::nextBinaryVector(std::array<float, 3>& vector) {
    constexpr int size = 12;
    skipSpace();
    if (end_ - cursor_ < size + 2 || cursor_[0] != '`' || cursor_[size + 1] != '`') return false;
    for (std::size_t i = 0; i < 3; ++i) vector[i] = std::bit_cast<float>(bigEndianWord(cursor_ + 1 + 4 * i));
    cursor_ += size + 2;
    lineStart_ = cursor_;
    return true;
}

const char* Lexer::endOfBlock() const {
    for (const char* c = cursor_; c < end_; c += 4) {
        if (*c == '`' && (c + 1 == end_ || isSpace(c[1]) || c[1] == '`' || c[1] == ']')) return c;
    }
    return nullptr;
}

std::string_view Lexer::binaryBlock(std::initializer_list<std::size_t> sizes, const char* what) {
    constexpr std::size_t vector = 12;
    const auto left = static_cast<std::size_t>(end_ - cursor_);
    const auto closesAfter = [&](std::size_t size) { return size < left && cursor_[size] == '`'; };
    for (const std::size_t size : sizes)
        if (closesAfter(size)) return binary(size, what);
    if (closesAfter(vector)) return binary(vector, what);
    const char* const end = endOfBlock();
    return binary(end ? static_cast<std::size_t>(end - cursor_) : *sizes.begin(), what);
}

void Lexer::skipBinary() {
    if (const char* const end = endOfBlock()) {
        cursor_ = end + 1;
        return;
    }
    const SourceLocation location = here();
    cursor_ = end_;
    throw SyntaxError(location, "the binary block is not closed by a backquote");
}

std::uint32_t bigEndianWord(const char* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return __builtin_bswap32(word);
}

void appendHex(std::vector<unsigned char>& bytes, std::string_view digits, const SourceLocation& location) {
    int high = -1;
    for (const char c : digits) {
        if (isSpace(c)) continue;
        const int digit = hexDigit(c);
        if (digit < 0)
            throw SyntaxError(location, fmt::format("\"{}\" is no hexadecimal digit", shownText({&c, 1})));
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<unsigned char>(high * 16 + digit));
            high = -1;
        }
    }
    if (high >= 0) throw SyntaxError(location, "a byte string has an odd number of hexadecimal digits");
}

void Lexer::hexBytes(std::vector<unsigned char>& bytes) {
    for (;;) {
        skipSpace();
        const SourceLocation location = here();
        if (cursor_ == end_) throw SyntaxError(location, "the byte list has no closing bracket");
        if (*cursor_ == ']') {
            ++cursor_;
            return;
        }
        if (*cursor_ == '\'') {
            appendHex(bytes, next().text, location);
            continue;
        }
        const char* start = cursor_;
        while (cursor_ != end_ && continuesWord(*cursor_)) ++cursor_;
        if (cursor_ == start) {
            ++cursor_;
            throw SyntaxError(location, "expected bytes as hexadecimal digits, or \"]\"");
        }
        appendHex(bytes, {start, static_cast<std::size_t>(cursor_ - start)}, location);
    }
}

bool Lexer::angleName(std::string_view& name) {
    while (cursor_ != end_ && (*cursor_ == ' ' || *cursor_ == '\t')) ++cursor_;
    if (cursor_ == end_ || *cursor_ != '<') return false;
    const char* start = cursor_ + 1;
    const char* stop = start;
    while (stop != end_ && *stop != '>' && *stop != '\n') ++stop;
    if (stop == end_ || *stop != '>') return false;
    name = {start, static_cast<std::size_t>(stop - start)};
    cursor_ = stop + 1;
    return true;
}

} // namespace orca::scene

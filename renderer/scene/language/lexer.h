// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <array>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

/// An error that ends the reading of a statement.
class SyntaxError : public std::runtime_error {
public:
    SyntaxError(SourceLocation where, const std::string& text)
        : std::runtime_error(text), location(std::move(where)) {}
    SourceLocation location;
};

struct Token {
    enum class Kind : std::uint8_t {
        End,     ///< of everything
        Symbol,  ///< unquoted word
        String,  ///< quoted text, escapes resolved
        Integer, ///< also fits where a float is expected
        Float,
        Bytes,     ///< between single quotes: hexadecimal digits and white space
        Backquote, ///< raw bytes follow
        Mark,      ///< one of ( ) [ ] { } , =
        Command    ///< a word after a dollar sign in column one
    };
    Kind kind = Kind::End;
    bool fitsInteger = false; ///< an Integer within 32 bits
    std::uint16_t source = 0; ///< number of the file, for places
    std::int32_t integer = 0;
    float number = 0; ///< of Integer and Float
    std::uint32_t line = 0, column = 0;
    std::string_view text;

    [[nodiscard]] bool is(char mark) const { return kind == Kind::Mark && text[0] == mark; }
    [[nodiscard]] bool isWord(std::string_view word) const { return kind == Kind::Symbol && text == word; }
    [[nodiscard]] bool isNumber() const { return kind == Kind::Integer || kind == Kind::Float; }
    [[nodiscard]] bool isName() const { return kind == Kind::String || kind == Kind::Symbol; }
    /// As messages show it: "word", 12, end of file.
    [[nodiscard]] std::string shown() const;
};

/// Splits one file's text into tokens. Errors of the text throw SyntaxError with the lexer past
/// them, so that the next call goes on.
class Lexer {
public:
    Lexer(std::string fileName, std::string text, std::uint16_t source);
    Lexer(const Lexer&) = delete;
    Lexer& operator=(const Lexer&) = delete;

    [[nodiscard]] Token next();
    /// Consumes a number, if one is next, without making a token: for long lists. False, and nothing is
    /// consumed but white space, for anything else.
    bool nextNumber(float& value);
    bool nextInteger(std::int32_t& value);
    /// The same of a vector as 12 raw bytes between backquotes: three big-endian numbers.
    bool nextBinaryVector(std::array<float, 3>& vector);
    /// Raw bytes after a Backquote token, and the closing backquote: `size` of them. Throws when there are
    /// fewer, or when they are not closed.
    std::string_view binary(std::size_t size, const char* what);
    /// The same of a block that may be one of several: whichever of `sizes` it is closed after, else one
    /// vector, else a whole number of words up to the first backquote that a separator follows.
    std::string_view binaryBlock(std::initializer_list<std::size_t> sizes, const char* what);
    /// Skips a block of raw bytes of unknown length: to the first closing backquote a whole number of words
    /// away.
    void skipBinary();
    /// Appends bytes written as hexadecimal pairs, quoted or bare, up to a closing bracket, which is
    /// consumed.
    void hexBytes(std::vector<unsigned char>& bytes);
    /// Text between angle brackets, if it is next on this line; for include commands.
    bool angleName(std::string_view& name);

    /// True when nothing but white space and comments is left.
    [[nodiscard]] bool atEnd();

    [[nodiscard]] SourceLocation here() const;
    [[nodiscard]] SourceLocation locationOf(const Token& token) const;
    [[nodiscard]] const std::string& fileName() const { return fileName_; }

private:
    void skipSpace();
    /// The backquote that closes a block of words of unknown length; null when there is none.
    [[nodiscard]] const char* endOfBlock() const;
    [[nodiscard]] std::uint32_t column() const {
        return static_cast<std::uint32_t>(cursor_ - lineStart_) + 1;
    }
    [[nodiscard]] bool atNumber() const;
    void lexString(Token& token);
    void lexNumber(Token& token);
    void lexBytes(Token& token);

    std::string fileName_;
    std::string text_;
    std::uint16_t source_;
    const char* cursor_;
    const char* end_;
    const char* lineStart_;
    std::uint32_t line_ = 1;
    std::deque<std::string> unescaped_; // texts of strings with escapes; tokens point here
};

/// The word of four bytes, the most significant first.
[[nodiscard]] std::uint32_t bigEndianWord(const char* bytes);

/// Two hexadecimal digits a byte; white space between pairs. Throws SyntaxError with `place`.
void appendHex(std::vector<unsigned char>& bytes, std::string_view digits, const SourceLocation& location);

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/language/scene_writer.h"

#include "scene/language/lexer.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace orca::scene {

namespace {

constexpr std::size_t widest = 110;       // columns; longer tokens have lines of their own
constexpr std::size_t bytesOfString = 32; // of a byte string

/// The shortest text that is read as the same number, and as one that is not whole.
std::string realNumber(float value) {
    std::string text = fmt::format("{}", value);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text;
}

} // namespace

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + '"';
}

std::size_t SceneWriter::column() const {
    const std::size_t newline = statement_.rfind('\n');
    return statement_.size() - (newline == std::string::npos ? 0 : newline + 1);
}

void SceneWriter::beginStatement() {
    if (!statement_.empty()) {
        statement_ += '\n';
        sink_(statement_);
    }
    discardStatement();
}

void SceneWriter::beginLine(int depth) {
    if (paused_ > 0) return;
    depth_ = depth;
    if (statement_.find_first_not_of(" \n", line_) == std::string::npos)
        statement_.resize(line_); // empty so far
    line_ = statement_.size();
    if (statement_.empty()) return;
    statement_ += '\n';
    statement_.append(static_cast<std::size_t>(4 * depth), ' ');
}

void SceneWriter::append(std::string_view text, bool separated) {
    if (paused_ > 0) return;
    const std::size_t at = column();
    const bool isFirst =
        at == 0 || statement_.find_first_not_of(' ', statement_.size() - at) == std::string::npos;
    if (!isFirst && separated && at + 1 + text.size() > widest) {
        statement_ += '\n';
        statement_.append(static_cast<std::size_t>(4 * depth_ + 4), ' ');
    } else if (!isFirst && separated) {
        statement_ += ' ';
    }
    statement_ += text;
}

void SceneWriter::token(const Token& token) {
    switch (token.kind) {
    case Token::Kind::String: string(token.text); break;
    case Token::Kind::Integer:
        if (token.fitsInteger && token.integer != 0) integer(token.integer);
        else if (token.fitsInteger) append(token.text[0] == '-' ? "-0" : "0");
        else append(token.text);
        break;
    case Token::Kind::Float: append(realNumber(token.number)); break;
    case Token::Kind::Bytes: {
        std::vector<unsigned char> content;
        appendHex(content, token.text, {});
        bytes(content.data(), content.size());
        break;
    }
    case Token::Kind::Mark: mark(token.text[0]); break;
    case Token::Kind::Symbol: append(token.text); break;
    case Token::Kind::End:
    case Token::Kind::Command:
    case Token::Kind::Backquote: break; // what follows it is written as numbers or bytes
    }
}

void SceneWriter::number(float value) {
    append(fmt::format("{}", value));
}

void SceneWriter::integer(std::int32_t value) {
    append(fmt::format("{}", value));
}

void SceneWriter::string(std::string_view text) {
    if (paused_ > 0) return;
    lastString_ = statement_.size();
    append(quoted(text));
}

void SceneWriter::mark(char mark) {
    append({&mark, 1}, mark != ',');
}

void SceneWriter::bytes(const void* data, std::size_t size) {
    const auto* const first = static_cast<const unsigned char*>(data);
    for (std::size_t at = 0; at < size; at += bytesOfString) {
        std::string text = "'";
        for (std::size_t i = at; i < std::min(at + bytesOfString, size); ++i)
            text += fmt::format("{:02x}", first[i]);
        append(text + '\'');
    }
}

void SceneWriter::replaceString(std::string_view text) {
    if (paused_ > 0) return;
    statement_.resize(lastString_);
    string(text);
}

void SceneWriter::discardLine() {
    if (paused_ == 0) statement_.resize(line_);
}

void SceneWriter::discardStatement() {
    statement_.clear();
    line_ = lastString_ = 0;
    depth_ = 0;
}

void SceneWriter::insertStatement(std::string_view word, std::string_view string) {
    sink_(fmt::format("{} {}\n", word, quoted(string)));
}

} // namespace orca::scene

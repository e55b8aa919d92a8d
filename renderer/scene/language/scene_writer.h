// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace orca::scene {

/// A string as scene files have it, between quotation marks.
[[nodiscard]] std::string quoted(std::string_view text);

struct Token;

/// Writes statements as they are read: one scene file, with all that was included in place, conditionals
/// resolved, comments and interface descriptions left out, numbers, bytes and lines in one form. Reading that
/// file makes the same scene, and writing it anew the same text. A statement is kept until the next one
/// begins, so that what reads it may still take it back.
class SceneWriter {
public:
    /// @param sink takes the text, in pieces
    explicit SceneWriter(std::function<void(std::string_view)> sink) : sink_(std::move(sink)) {}

    /// Ends the statement before, which the sink gets.
    void beginStatement();
    /// A statement of a block, or what else is written on a line of its own.
    void beginLine(int depth);
    void token(const Token& token);
    void number(float value);
    void integer(std::int32_t value);
    void word(std::string_view text) { append(text); }
    void string(std::string_view text);
    void mark(char mark);
    /// As byte strings of hexadecimal digits.
    void bytes(const void* data, std::size_t size);

    /// Puts another text into the quoted string that was written last.
    void replaceString(std::string_view text);
    /// Takes back all that was written since `beginLine`, or since `beginStatement`.
    void discardLine();
    void discardStatement();
    /// Writes a statement of a word and a string before the one that is being read.
    void insertStatement(std::string_view word, std::string_view string);

    /// While one of these lives, what is read is not written.
    class Pause {
    public:
        explicit Pause(SceneWriter* writer) : writer_(writer) {
            if (writer_) ++writer_->paused_;
        }
        ~Pause() {
            if (writer_) --writer_->paused_;
        }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        SceneWriter* writer_;
    };

private:
    void append(std::string_view text, bool separated = true);
    [[nodiscard]] std::size_t column() const;

    std::function<void(std::string_view)> sink_;
    std::string statement_;
    std::size_t line_ = 0;       // where the line of the block's statement begins in statement_
    std::size_t lastString_ = 0; // where the string that was written last begins, with what separates it
    int depth_ = 0;
    int paused_ = 0;
};

} // namespace orca::scene

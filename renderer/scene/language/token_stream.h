// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/lexer.h"
#include "scene/language/scene_file.h"
#include "scene/language/scene_writer.h"
#include "scene/language/variables.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orca::scene {

/// The end of all reading before the end of the files.
class ReadingStopped : public SyntaxError {
public:
    using SyntaxError::SyntaxError;
};

[[nodiscard]] std::string directoryOf(const std::string& path);

/// The tokens of a file and everything that it includes, with conditionals resolved. Commands in column one
/// act when the reader's look-ahead reaches them, so the reader looks ahead only where the grammar needs it.
class TokenStream {
public:
    /// Adds what it includes to `files`. Throws ReadingStopped once the options' `stop` is set.
    TokenStream(const Variables& variables, const ParserOptions& options, std::vector<ReadFile>& files);

    void open(const std::string& name, std::string text);
    /// Runs the side effects of a registry entry; it may call `include`.
    void onLookup(std::function<void(const std::string& name, const SourceLocation&)> action) {
        lookup_ = std::move(action);
    }
    /// Hears of included files that cannot be read, and where that was asked for; reading goes on after them.
    void onMissingFile(std::function<void(const SourceLocation&, const std::string& text)> report) {
        missing_ = std::move(report);
    }
    /// Reads a file in place.
    void include(const std::string& name, bool searchPathsOnly, const SourceLocation& location);

    /// What is consumed is written where the options have a writer, except what `binary` and its kin return.
    Token next();
    const Token& peek(std::size_t ahead = 0);
    /// As of Lexer: fast paths for long lists, with the general look-ahead kept right.
    bool nextNumber(float& value);
    bool nextInteger(std::int32_t& value);
    bool nextBinaryVector(std::array<float, 3>& vector);
    /// Directly after a Backquote token, or an opening bracket for hexBytes.
    std::string_view binary(std::size_t size, const char* what) { return lexer().binary(size, what); }
    std::string_view binaryBlock(std::initializer_list<std::size_t> sizes, const char* what) {
        return lexer().binaryBlock(sizes, what);
    }
    void skipBinary() { lexer().skipBinary(); }
    void hexBytes(std::vector<unsigned char>& bytes);
    /// Null when nothing is written.
    [[nodiscard]] SceneWriter* writer() const { return options_.writer; }

    /// True when nothing is left of the file and what includes it. Commands are not obeyed.
    [[nodiscard]] bool atEnd() { return ahead_.empty() && stack_.size() == 1 && lexer().atEnd(); }

    [[nodiscard]] SourceLocation locationOf(const Token& token) const;
    /// Directory of the file that is being read.
    [[nodiscard]] const std::string& directory() const;
    [[nodiscard]] const std::string& fileName() const;

private:
    struct Conditional {
        SourceLocation location;
        bool elseSeen = false;
    };
    struct Source {
        std::unique_ptr<Lexer> lexer;
        std::string directory;
        std::vector<Conditional> conditionals;
    };

    [[nodiscard]] Lexer& lexer() { return *sources_[stack_.back()].lexer; }
    void checkStop() const;
    Token take(); ///< as `next`, unwritten
    Token fetch();
    void command(const Token& token);
    void obey(const Token& token, const SourceLocation& location);
    void includeCommand(const SourceLocation& location);
    /// Evaluates the test whose command word was read; true when its text is to be read.
    bool test(std::string_view word);
    std::string stringArgument(std::string_view commandWord);
    /// Skips to the part of the conditional that is to be read; with `anyElse` false, past its end.
    void skipConditional(bool anyElse);
    void skipCode(const SourceLocation& location);

    const Variables& variables_;
    const ParserOptions& options_;
    std::vector<ReadFile>& files_;
    std::function<void(const std::string&, const SourceLocation&)> lookup_;
    std::function<void(const SourceLocation&, const std::string&)> missing_;
    std::vector<Source> sources_;    // all that were opened: tokens point into their texts
    std::vector<std::size_t> stack_; // indices of those being read
    std::deque<Token> ahead_;
};

} // namespace orca::scene

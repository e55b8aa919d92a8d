// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/language/scene_file.h"
#include "scene/language/token_stream.h"
#include "scene/language/variables.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace orca::scene {

/// What a scene's reader keeps from one file to the next.
struct Scene::Memory {
    Variables variables;
    std::set<std::string> logged;                ///< "kind of construct|file" of what is not supported
    std::map<std::string, miTag> phenomenonUses; ///< names of expanded phenomena
    bool filesMissing = false;                   ///< an included file, so that what it defines is not known
    int unknownNames = 0;                        ///< that it may define; they get no message of their own
};

/// Reads single tokens and values of one file and what it includes, and reports what is wrong with them.
/// `of` says in messages what is expected. What throws SyntaxError cannot go on; other errors are counted.
class TokenReader {
protected:
    TokenReader(Scene& scene, const ParserOptions& options);

    struct StopReading {}; // too many errors, or the owner asked for it

    template <class... A>
    void error(const SourceLocation& location, fmt::format_string<A...> form, A&&... arguments) {
        countError(location, fmt::format(form, std::forward<A>(arguments)...));
    }
    template <class... A>
    void warning(const SourceLocation& location, fmt::format_string<A...> form, A&&... arguments) {
        log_.writeAt(location, LogLevel::Warning, "SCEN", form, std::forward<A>(arguments)...);
    }
    template <class... A>
    [[noreturn]] void fail(const Token& token, fmt::format_string<A...> form, A&&... arguments) {
        throw SyntaxError(locationOf(token), fmt::format(form, std::forward<A>(arguments)...));
    }
    void countError(const SourceLocation& location, const std::string& text);
    /// One message for each kind of construct and file, naming the first element affected.
    void unsupported(LogLevel level, const SourceLocation& location, const std::string& construct,
                     const std::string& text);
    /// Of a message about what has no effect.
    [[nodiscard]] LogLevel strictly(LogLevel level) const;
    /// One message for each key and scene.
    void once(LogLevel level, const SourceLocation& location, const std::string& key,
              const std::string& text);

    [[nodiscard]] SourceLocation locationOf(const Token& token) const { return stream_.locationOf(token); }
    const Token& peek(std::size_t ahead = 0) { return stream_.peek(ahead); }
    Token next() { return stream_.next(); }
    bool accept(char mark);
    bool accept(std::string_view word);
    void expect(char mark, std::string_view after);
    void expectEnd(std::string_view kind);
    std::string name(std::string_view of);
    Token nameToken(std::string_view of);
    std::string string(std::string_view of);
    int integer(std::string_view of);
    int positiveInteger(std::string_view of);
    float number(std::string_view of);
    miVector vector(std::string_view of);
    std::array<float, 16> matrix(std::string_view of);
    std::optional<bool> acceptBoolean();
    bool boolean(std::string_view of);
    std::optional<int> acceptInteger();
    bool atNumber() { return peek().isNumber(); }
    bool atString() { return peek().kind == Token::Kind::String; }
    /// The name of a file, the token that was read last; unless it is not of the text that is written.
    enum class Written { Yes, No };
    [[nodiscard]] std::string fileNameIn(const Token& text, Written written = Written::Yes);
    /// The same of a file that the scene reads, and looks for in the folder of this file first.
    [[nodiscard]] std::string inputFileIn(const Token& text);
    /// A line of its own, of the file that is written.
    void newLine(int depth) {
        if (stream_.writer()) stream_.writer()->beginLine(depth);
    }
    void skipBalanced();
    /// Skips a description of a user interface from after its first word: a name, text in parentheses and a
    /// block in braces, each of which may be left out.
    void skipInterface();

    Scene& scene_;
    const ParserOptions& options_;
    Log& log_;
    Scene::Memory& memory_;
    TokenStream stream_;
};

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/language/token_stream.h"

#include "scene/language/source_text.h"

#include <bit>
#include <exception>

namespace orca::scene {

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

TokenStream::TokenStream(const Variables& variables, const ParserOptions& options,
                         std::vector<ReadFile>& files)
    : variables_(variables), options_(options), files_(files) {
}

void TokenStream::open(const std::string& name, std::string text) {
    const auto number = static_cast<std::uint16_t>(sources_.size());
    sources_.push_back({std::make_unique<Lexer>(name, std::move(text), number), directoryOf(name), {}});
    stack_.push_back(number);
}

SourceLocation TokenStream::locationOf(const Token& token) const {
    return sources_.empty() ? SourceLocation{} : sources_[token.source].lexer->locationOf(token);
}

const std::string& TokenStream::directory() const {
    return sources_[stack_.back()].directory;
}

const std::string& TokenStream::fileName() const {
    return sources_[stack_.back()].lexer->fileName();
}

Token TokenStream::next() {
    const Token token = take();
    if (options_.writer) options_.writer->token(token);
    return token;
}

Token TokenStream::take() {
    if (ahead_.empty()) return fetch();
    const Token token = ahead_.front();
    ahead_.pop_front();
    return token;
}

const Token& TokenStream::peek(std::size_t ahead) {
    while (ahead_.size() <= ahead) {
        // Raw bytes follow a backquote, no tokens.
        if (!ahead_.empty() && ahead_.back().kind == Token::Kind::Backquote) return ahead_.back();
        ahead_.push_back(fetch());
    }
    return ahead_[ahead];
}

void TokenStream::checkStop() const {
    if (options_.stop && options_.stop->load(std::memory_order_relaxed))
        throw ReadingStopped(sources_[stack_.back()].lexer->here(), "interrupted");
}

bool TokenStream::nextNumber(float& value) {
    checkStop();
    if (!ahead_.empty() || !lexer().nextNumber(value)) {
        if (!peek().isNumber()) return false;
        value = take().number;
    }
    if (options_.writer) options_.writer->number(value);
    return true;
}

bool TokenStream::nextInteger(std::int32_t& value) {
    checkStop();
    if (!ahead_.empty() || !lexer().nextInteger(value)) {
        if (peek().kind != Token::Kind::Integer || !peek().fitsInteger) return false;
        value = take().integer;
    }
    if (options_.writer) options_.writer->integer(value);
    return true;
}

bool TokenStream::nextBinaryVector(std::array<float, 3>& vector) {
    checkStop();
    if (ahead_.empty()) {
        if (!lexer().nextBinaryVector(vector)) return false;
    } else {
        if (peek().kind != Token::Kind::Backquote) return false;
        take();
        const std::string_view bytes = binary(sizeof vector, "a binary vector");
        for (std::size_t i = 0; i < vector.size(); ++i)
            vector[i] = std::bit_cast<float>(bigEndianWord(bytes.data() + 4 * i));
    }
    if (options_.writer)
        for (const float each : vector) options_.writer->number(each);
    return true;
}

void TokenStream::hexBytes(std::vector<unsigned char>& bytes) {
    lexer().hexBytes(bytes);
    if (!options_.writer) return;
    options_.writer->bytes(bytes.data(), bytes.size());
    options_.writer->mark(']');
}

Token TokenStream::fetch() {
    for (;;) {
        checkStop();
        const Token token = lexer().next();
        if (token.kind == Token::Kind::Command) {
            command(token);
        } else if (token.kind == Token::Kind::End) {
            std::vector<Conditional>& open = sources_[stack_.back()].conditionals;
            if (!open.empty()) {
                const SourceLocation location = open.back().location;
                open.clear();
                throw SyntaxError(location, "the conditional that begins here has no $endif");
            }
            if (stack_.size() == 1) return token;
            stack_.pop_back();
        } else {
            return token;
        }
    }
}

void TokenStream::command(const Token& token) {
    const SourceLocation location = locationOf(token);
    try {
        obey(token, location);
    } catch (const SubstitutionError& fault) {
        throw SyntaxError(location, fmt::format("${}: {}", token.text, fault.what()));
    }
}

void TokenStream::obey(const Token& token, const SourceLocation& location) {
    std::vector<Conditional>& conditionals = sources_[stack_.back()].conditionals;
    const std::string_view word = token.text;
    if (word == "include") {
        includeCommand(location);
    } else if (word == "ifdef" || word == "ifndef" || word == "ifeq" || word == "ifneq") {
        conditionals.push_back({location});
        if (!test(word)) skipConditional(true);
    } else if (word == "else" || word == "elseifdef" || word == "elseifeq" || word == "elseifndef" ||
               word == "elseifneq") {
        if (conditionals.empty())
            throw SyntaxError(location, fmt::format("${} without an $ifdef or $ifeq", word));
        skipConditional(false);
    } else if (word == "endif") {
        if (conditionals.empty()) throw SyntaxError(location, "$endif without an $ifdef or $ifeq");
        conditionals.pop_back();
    } else if (word == "lookup") {
        const std::string name = stringArgument(word);
        if (lookup_) lookup_(name, location);
    } else if (word == "code") {
        skipCode(location);
    } else {
        throw SyntaxError(location, fmt::format("unknown command \"${}\"", word));
    }
}

std::string TokenStream::stringArgument(std::string_view commandWord) {
    const Token token = lexer().next();
    if (token.kind != Token::Kind::String) {
        throw SyntaxError(locationOf(token),
                          fmt::format("${} needs a quoted string, not {}", commandWord, token.shown()));
    }
    return std::string(token.text);
}

bool TokenStream::test(std::string_view word) {
    const bool joined = word.substr(0, 4) == "else";
    if (joined) word.remove_prefix(4);
    const std::string key = stringArgument(word);
    if (word == "ifdef") return variables_.isDefined(key);
    if (word == "ifndef") return !variables_.isDefined(key);
    const bool equal = variables_.valueOf(key) == variables_.substituted(stringArgument(word));
    return (word == "ifeq") == equal;
}

void TokenStream::skipConditional(bool anyElse) {
    std::vector<Conditional>& conditionals = sources_[stack_.back()].conditionals;
    int nested = 0;
    for (;;) {
        Token token;
        try {
            token = lexer().next();
            if (token.kind == Token::Kind::Backquote) lexer().skipBinary();
        } catch (const SyntaxError&) {
            continue; // skipped text needs no message
        }
        if (token.kind == Token::Kind::End) return; // fetch reports it
        if (token.kind != Token::Kind::Command) continue;
        const std::string_view word = token.text;
        if (word.substr(0, 2) == "if") {
            ++nested;
        } else if (word == "endif") {
            if (nested-- == 0) {
                conditionals.pop_back();
                return;
            }
        } else if (nested == 0 && anyElse && word.substr(0, 4) == "else") {
            if (word == "else" || test(word)) return;
        }
    }
}

void TokenStream::skipCode(const SourceLocation& location) {
    for (;;) {
        Token token;
        try {
            token = lexer().next();
            if (token.kind == Token::Kind::End) break;
            if (token.kind != Token::Kind::Command || token.text != "end") continue;
            if (lexer().next().isWord("code")) break;
        } catch (const SyntaxError&) {
            continue; // C text does not consist of tokens of this language
        }
    }
    throw SyntaxError(location, "$code is not supported: compile the shader into a library and link that");
}

void TokenStream::includeCommand(const SourceLocation& location) {
    std::string_view angled;
    if (lexer().angleName(angled)) {
        include(std::string(angled), true, location);
    } else {
        include(stringArgument("include"), false, location);
    }
}

void TokenStream::include(const std::string& name, bool searchPathsOnly, const SourceLocation& location) {
    constexpr std::size_t deepest = 64;
    constexpr std::size_t most = 60000; // tokens number their files with 16 bits
    if (stack_.size() >= deepest) {
        throw SyntaxError(location,
                          fmt::format("\"{}\": files include each other more than {} deep", name, deepest));
    }
    if (sources_.size() >= most) throw SyntaxError(location, "too many files are included");
    std::string unknown;
    const std::string file = variables_.substituted(name, &unknown);
    if (!unknown.empty()) {
        throw SyntaxError(
            location,
            fmt::format("\"{}\" names the registry entry \"{{{}}}\", which is not defined", name, unknown));
    }
    std::vector<std::string> tried;
    if (!file.empty() && file[0] == '/') {
        tried.push_back(file);
    } else {
        if (!searchPathsOnly) tried.push_back(directory() + file);
        for (const std::string& path : options_.includePaths)
            tried.push_back(path.empty() ? file : path + "/" + file);
    }
    for (std::string& path : tried) {
        if (options_.mayRead && !options_.mayRead(path)) {
            path += " (which may not be read)";
            continue;
        }
        std::optional<std::string> text;
        try {
            text = readSourceText(path, options_.stop);
        } catch (const std::exception& reason) {
            checkStop();
            missing_(location, fmt::format("cannot read the included file \"{}\": {}", path, reason.what()));
            return;
        }
        if (!text) continue;
        files_.push_back({path, location});
        open(path, *std::move(text));
        return;
    }
    std::string list;
    for (const std::string& path : tried) list += (list.empty() ? "" : ", ") + path;
    missing_(location, fmt::format("cannot read the included file \"{}\"; tried {}", file,
                                   list.empty() ? "nothing, as there is no include path" : list));
}

} // namespace orca::scene

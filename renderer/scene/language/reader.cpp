// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>

namespace orca::scene {

namespace {

template <std::size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Words that begin a statement of the file in any column.
constexpr std::array<std::string_view, 7> alwaysStatements = {
    "declare", "options", "instgroup", "instance", "incremental", "render", "link"};
/// Words that begin one in the first column, and may be part of another elsewhere.
constexpr std::array<std::string_view, 19> columnStatements = {
    "camera",       "material", "light",  "object",   "data",     "shader", "texture",
    "lightprofile", "color",    "scalar", "assembly", "registry", "set",    "echo",
    "namespace",    "delete",   "touch",  "verbose",  "root"};
constexpr std::array<std::string_view, 14> blockKinds = {
    "options", "camera",  "material", "light",    "object",    "instance",     "instgroup",
    "data",    "declare", "registry", "assembly", "namespace", "lightprofile", "spectrum"};

} // namespace

Reader::Reader(Scene& scene, const ParserOptions& options, const ParserCallbacks& callbacks)
    : TokenReader(scene, options), callbacks_(callbacks), database_(scene.database_) {
    stream_.onLookup([this](const std::string& entry, const SourceLocation& location) {
        lookUpRegistry(entry, location);
    });
    stream_.onMissingFile([this](const SourceLocation& location, const std::string& text) {
        // All of them are listed, however many there are.
        log_.writeAt(location, LogLevel::Error, "SCEN", "{}", text);
        ++scene_.errors_;
        memory_.filesMissing = true;
    });
}

bool Reader::read(const std::string& fileName, std::string text) {
    stream_.open(fileName, std::move(text));
    try {
        for (;;) {
            try {
                if (stream_.writer()) stream_.writer()->beginStatement();
                const Token token = next();
                if (token.kind == Token::Kind::End) break;
                readStatement(token);
                block_.clear();
            } catch (const ReadingStopped& fault) {
                countError(fault.location, fault.what());
                return false;
            } catch (const SyntaxError& fault) {
                countError(fault.location, fault.what());
                const bool insidePhenomenon = phenomenon_ != nullptr;
                phenomenon_ = nullptr;
                connectionsAllowed_ = true;
                nesting_ = 0;
                resynchronise(insidePhenomenon);
                block_.clear();
            }
        }
        if (namespaces_.size() > outerNamespaces_) {
            error({fileName, 0, 0}, "namespace \"{}\" has no \"end namespace\"", namespaces_.back());
        }
    } catch (const StopReading&) {
        return false;
    }
    return true;
}

void Reader::readStatement(const Token& token) {
    if (token.kind != Token::Kind::Symbol) {
        fail(token, "expected a statement, not {}", token.shown());
    }
    const std::string word(token.text);
    if (readCommand(word, token)) return;
    if (word == "declare") {
        block_ = word;
        readDeclaration(token);
    } else if (word == "incremental") {
        const Token entity = next();
        if (!readEntity(entity.text, entity, true)) {
            fail(entity, "{} cannot be changed incrementally", entity.shown());
        }
    } else if (!readEntity(word, token, false)) {
        skipUnknownEntity(token);
    }
}

bool Reader::readEntity(std::string_view word, const Token& token, bool incremental) {
    if (token.kind != Token::Kind::Symbol) return false;
    block_ = std::string(word);
    const auto named = [&](std::string_view of) { return nameToken(of); };
    if (word == "options") {
        readOptions(named("an options block"), incremental);
    } else if (word == "camera") {
        readCamera(named("a camera"), incremental);
    } else if (word == "view" && !incremental && !atString()) {
        readView(token);
    } else if (word == "material") {
        readMaterial(named("a material"), incremental);
    } else if (word == "light") {
        readLight(named("a light"), incremental);
    } else if (word == "object") {
        readObject(named("an object"), incremental);
    } else if (word == "instance") {
        readInstance(named("an instance"), incremental);
    } else if (word == "instgroup") {
        readGroupEntity(named("an instance group"), incremental);
    } else if (word == "shader") {
        readNamedShader(named("a shader"), incremental);
    } else if (word == "data") {
        readData(named("a data block"), incremental);
    } else if (word == "lightprofile") {
        readLightProfile(named("a light profile"), incremental);
    } else if (word == "assembly") {
        readAssembly(named("an assembly"));
    } else if (word == "colorprofile" || word == "spectrum" || word == "map") {
        readOther(named("the element"), word);
    } else {
        return readTextureStart(word, token, incremental);
    }
    return true;
}

bool Reader::readTextureStart(std::string_view word, const Token& token, bool incremental) {
    constexpr std::array<std::string_view, 6> starts = {"writable", "local",  "filter",
                                                        "color",    "scalar", "vector"};
    if (!isOneOf(word, starts)) return false;
    block_ = "texture";
    readTexture(token, word, incremental);
    return true;
}

void Reader::skipUnknownEntity(const Token& token) {
    block_ = std::string(token.text);
    fail(token, "unknown statement \"{}\"", token.text);
}

void Reader::withoutEffect(LogLevel level, const SourceLocation& location, const std::string& owner,
                           std::string_view word, std::string_view reason) {
    once(strictly(level), location, fmt::format("{} {}", block_, word),
         fmt::format("{}: \"{}\" has no effect: {}", owner, word, reason));
}

bool Reader::endsBlock(std::string_view kind, const std::string& owner) {
    const Token& token = peek();
    const bool isInPhenomenon = phenomenon_ && kind != "declare";
    newLine((isInPhenomenon ? 1 : 0) + (token.isWord("end") ? 0 : 1));
    if (token.isWord("end")) {
        expectEnd(kind);
        return true;
    }
    if (token.kind == Token::Kind::End) fail(token, "the file ends inside {} \"{}\"", kind, owner);
    const bool isPart = phenomenon_ && kind == "declare" && token.isWord("instance");
    if (token.kind == Token::Kind::Symbol && isOneOf(token.text, alwaysStatements) && !isPart) {
        fail(token, "{} \"{}\" has no \"end {}\" before \"{}\"", kind, owner, kind, token.text);
    }
    return false;
}

void Reader::resynchronise(bool insidePhenomenon) {
    for (;;) {
        try {
            const Token token = peek();
            if (token.kind == Token::Kind::End) return;
            if (token.isWord("end")) {
                next();
                const Token kind = peek();
                if (kind.kind != Token::Kind::Symbol) continue;
                const bool closes = insidePhenomenon ? kind.text == "declare"
                                                     : kind.text == block_ || isOneOf(kind.text, blockKinds);
                if (closes) {
                    next();
                    return;
                }
                continue;
            }
            const bool starts =
                isOneOf(token.text, alwaysStatements)
                    ? !(insidePhenomenon && token.isWord("instance"))
                    : token.column == 1 && isOneOf(token.text, columnStatements) && !insidePhenomenon;
            if (token.kind == Token::Kind::Symbol && starts) {
                return;
            }
            next();
            if (token.kind == Token::Kind::Backquote) stream_.skipBinary();
        } catch (const ReadingStopped&) {
            return;
        } catch (const SyntaxError&) {
            continue; // one message for the statement is enough
        }
    }
}

} // namespace orca::scene

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

/// Words that begin a statement of the file wherever they stand.
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
    : scene_(scene),
      options_(options),
      callbacks_(callbacks),
      log_(scene.log_),
      database_(scene.database_),
      memory_(*scene.memory_),
      stream_(memory_.variables, options.includePaths) {
    stream_.onLookup([this](const std::string& entry, const SourceLocation& location) {
        lookUpRegistry(entry, location);
    });
}

bool Reader::read(const std::string& fileName, std::string text) {
    stream_.open(fileName, std::move(text));
    try {
        for (;;) {
            try {
                const Token token = next();
                if (token.kind == Token::Kind::End) break;
                readStatement(token);
                block_.clear();
            } catch (const MissingFile& fault) {
                countError(fault.location, fault.what());
                return false; // the rest would be a list of names that are not defined
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

bool Reader::endsBlock(std::string_view kind, const std::string& owner) {
    const Token& token = peek();
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
        } catch (const SyntaxError&) {
            continue; // one message for the statement is enough
        }
    }
}

void Reader::countError(const SourceLocation& location, const std::string& text) {
    log_.writeAt(location, LogLevel::Error, "SCEN", "{}", text);
    if (++scene_.errors_ < options_.maximumErrors) return;
    log_.writeAt(location, LogLevel::Error, "SCEN", "{} errors, reading stops here", scene_.errors_);
    throw StopReading{};
}

void Reader::unsupported(LogLevel level, const SourceLocation& location, const std::string& construct,
                         const std::string& text) {
    if (!memory_.logged.insert(construct + '|' + location.file).second) return;
    if (level == LogLevel::Error) {
        countError(location, text);
    } else {
        log_.writeAt(location, level, "SCEN", "{}", text);
    }
}

Scene::Scene(Log& log) : log_(log), memory_(std::make_unique<Memory>()) {
}

Scene::~Scene() = default;

bool Scene::parseFile(const std::string& path, const ParserOptions& options,
                      const ParserCallbacks& callbacks) {
    std::string text;
    std::string found = path;
    if (!readWholeFile(found, text)) {
        found = path + ".mi";
        if (!readWholeFile(found, text)) {
            ++errors_;
            log_.error("SCEN", "cannot read the scene file \"{}\", nor \"{}\"", path, found);
            return false;
        }
    }
    return parseText(std::move(text), path == "-" ? "standard input" : found, options, callbacks);
}

bool Scene::parseText(std::string text, const std::string& name, const ParserOptions& options,
                      const ParserCallbacks& callbacks) {
    for (const auto& [key, value] : options.variables) memory_->variables.set(key, value);
    for (const auto& [key, value] : options.registry) memory_->variables.setEntry(key, {{{"value", value}}});
    const bool finished = Reader(*this, options, callbacks).read(name, std::move(text));
    if (finished && errors_ == 0 && renderStatements_ == 0) {
        log_.info("SCEN", "{}: no render statement so far", name);
    }
    return finished && errors_ == 0;
}

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/words.h"
#include "scene/language/reader.h"

#include <algorithm>
#include <array>

namespace orca::scene {

namespace {

struct TypeWord {
    std::string_view word;
    miParam_type type;
    miParam_type texture; ///< when "texture" follows; the type itself where it cannot
};
constexpr std::array<TypeWord, 16> typeWords = {{
    {"boolean", miTYPE_BOOLEAN, miTYPE_BOOLEAN},
    {"integer", miTYPE_INTEGER, miTYPE_INTEGER},
    {"scalar", miTYPE_SCALAR, miTYPE_SCALAR_TEXTURE},
    {"string", miTYPE_STRING, miTYPE_STRING},
    {"vector", miTYPE_VECTOR, miTYPE_VECTOR_TEXTURE},
    {"transform", miTYPE_TRANSFORM, miTYPE_TRANSFORM},
    {"color", miTYPE_COLOR, miTYPE_COLOR_TEXTURE},
    {"spectrum", miTYPE_SPECTRUM, miTYPE_SPECTRUM},
    {"shader", miTYPE_SHADER, miTYPE_SHADER},
    {"texture", miTYPE_TEXTURE, miTYPE_TEXTURE},
    {"light", miTYPE_LIGHT, miTYPE_LIGHT},
    {"material", miTYPE_MATERIAL, miTYPE_MATERIAL},
    {"geometry", miTYPE_GEOMETRY, miTYPE_GEOMETRY},
    {"lightprofile", miTYPE_LIGHTPROFILE, miTYPE_LIGHTPROFILE},
    {"data", miTYPE_DATA, miTYPE_DATA},
    {"struct", miTYPE_STRUCT, miTYPE_STRUCT},
}};

bool sameDeclaration(const DeclarationElement& a, const DeclarationElement& b) {
    const auto sameNames = [](const Parameter& p, const Parameter& q) {
        return p.name == q.name && p.sameShape(q);
    };
    return a.kind == b.kind && a.result.sameShape(b.result) &&
           std::equal(a.parameters.begin(), a.parameters.end(), b.parameters.begin(), b.parameters.end(),
                      sameNames);
}

} // namespace

std::optional<miParam_type> Reader::acceptType() {
    if (peek().kind != Token::Kind::Symbol) return {};
    const auto found = std::find_if(typeWords.begin(), typeWords.end(),
                                    [&](const TypeWord& type) { return type.word == peek().text; });
    if (found == typeWords.end()) return {};
    next();
    return found->texture != found->type && accept("texture") ? found->texture : found->type;
}

Parameter Reader::readParameter() {
    Parameter parameter;
    parameter.isArray = accept("array");
    const Token typeToken = peek();
    const std::optional<miParam_type> type = acceptType();
    if (!type) fail(typeToken, "expected a parameter's type, not {}", typeToken.shown());
    parameter.type = *type;
    parameter.name = name("the parameter");
    if (parameter.type == miTYPE_STRUCT) {
        constexpr int deepest = 32;
        if (nesting_ >= deepest) fail(typeToken, "structs are nested more than {} deep", deepest);
        expect('{', "the struct's name");
        ++nesting_;
        parameter.members = readParameterList('{', '}');
        --nesting_;
    }
    parameter.elementSize =
        parameter.type == miTYPE_STRUCT ? layOut(parameter.members) : simpleTypeSize(parameter.type);
    if (accept("default")) {
        const bool outside = std::exchange(connectionsAllowed_, false);
        const ShaderUse use{"default of \"" + parameter.name + "\""};
        Value value = parameter.isArray && !peek().is('[') ? readElement(parameter, use, "this")
                                                           : readValue(parameter, use, "this");
        if (parameter.isArray && value.kind != Value::Kind::Array) {
            Value array;
            array.kind = Value::Kind::Array;
            array.items.push_back(std::move(value));
            value = std::move(array);
        }
        parameter.defaultValue = std::make_shared<const Value>(std::move(value));
        connectionsAllowed_ = outside;
    }
    return parameter;
}

/// From after the opening mark up to and with the closing one.
std::vector<Parameter> Reader::readParameterList(char open, char close) {
    std::vector<Parameter> parameters;
    while (!accept(close)) {
        const Token token = peek();
        Parameter parameter = readParameter();
        if (findParameter(parameters, parameter.name)) {
            error(locationOf(token), "\"{}\" is declared twice in one list", parameter.name);
        } else {
            parameters.push_back(std::move(parameter));
        }
        if (!accept(',') && !peek().is(close)) {
            fail(peek(), "expected \",\" or \"{}\" in the list that \"{}\" opens, not {}", close, open,
                 peek().shown());
        }
    }
    return parameters;
}

void Reader::readDeclaration(const Token&) {
    using Kind = DeclarationElement::Kind;
    Kind kind = Kind::Shader;
    bool oldForm = false;
    if (peek().isWord("data") && peek(1).isName() && !peek(1).isWord("texture")) {
        next();
        kind = Kind::Data;
    } else if (accept("phenomenon")) {
        kind = Kind::Phenomenon;
    } else {
        oldForm = !accept("shader");
    }
    auto declaration = std::make_unique<DeclarationElement>(kind);
    if (kind != Kind::Data && !atString()) {
        Parameter& result = declaration->result;
        result.isArray = accept("array");
        const Token typeToken = peek();
        const std::optional<miParam_type> type = acceptType();
        if (type) {
            result.type = *type;
            if (result.type == miTYPE_STRUCT) {
                expect('{', "\"struct\"");
                result.members = readParameterList('{', '}');
            }
        } else if (typeToken.kind != Token::Kind::Symbol || !peek(1).is('(')) {
            fail(typeToken, "expected the type of the result or the shader's name, not {}",
                 typeToken.shown());
        }
        result.elementSize =
            result.type == miTYPE_STRUCT ? layOut(result.members) : simpleTypeSize(result.type);
    }
    const Token nameOf = nameToken("what is declared");
    declaration->symbol = std::string(nameOf.text);
    declaration->name = fullName(nameOf.text);
    declaration->location = locationOf(nameOf);
    expect('(', "the declared name");
    declaration->parameters = readParameterList('(', ')');
    declaration->fixedSize = layOut(declaration->parameters);
    declaration->parameterText = textOf(declaration->parameters);
    declaration->resultText = textOf(declaration->result.members);
    if (kind == Kind::Phenomenon) {
        declaration->body = std::make_unique<PhenomenonBody>();
        phenomenon_ = declaration.get();
        innerNames_.clear();
    }
    // The old form ends with its parameter list; what it needs may still follow.
    const bool hasEnd = !oldForm || peek().isWord("version") || peek().isWord("apply") ||
                        peek().isWord("gui") || peek().isWord("end");
    if (hasEnd && !(oldForm && peek().isWord("end") && !peek(1).isWord("declare"))) {
        readDeclarationOptions(*declaration);
    }
    if (kind == Kind::Phenomenon) {
        checkPhenomenonRoot(*declaration, locationOf(nameOf));
        phenomenon_ = nullptr;
    }
    keepDeclaration(nameOf, std::move(declaration));
}

void Reader::readDeclarationOptions(DeclarationElement& declaration) {
    while (!endsBlock("declare", declaration.name)) {
        const Token token = next();
        const std::string_view word = token.text;
        if (token.isWord("version")) {
            declaration.version = integer("the version");
        } else if (token.isWord("gui")) {
            skipInterface();
        } else if (token.isWord("apply")) {
            do {
                declaration.apply.push_back(name("a kind of use"));
            } while (accept(','));
        } else if (token.kind == Token::Kind::Symbol &&
                   ((declaration.body && readPhenomenonPart(declaration, token)) ||
                    readRequirement(declaration, word))) {
            continue;
        } else if (token.kind == Token::Kind::Symbol || token.isNumber()) {
            declaration.requirements.others.emplace_back(word);
        } else {
            fail(token, "expected a requirement or \"end declare\", not {}", token.shown());
        }
    }
}

bool Reader::readRequirement(DeclarationElement& declaration, std::string_view word) {
    Requirements& needs = declaration.requirements;
    if (word == "trace") {
        needs.trace = boolean("trace");
    } else if (word == "scanline") {
        needs.scanline = boolean("scanline");
    } else if (word == "shadow") {
        const Token mode = next();
        const Word* const chosen =
            mode.kind == Token::Kind::Symbol ? findWord(shadowWords, mode.text) : nullptr;
        if (!chosen) fail(mode, "expected a shadow mode ({}), not {}", listOf(shadowWords), mode.shown());
        needs.shadow = static_cast<char>(chosen->code);
    } else {
        return false;
    }
    return true;
}

void Reader::keepDeclaration(const Token& nameOf, std::unique_ptr<DeclarationElement> declaration) {
    const std::string full = fullName(nameOf.text);
    if (const auto* earlier = database_.find<DeclarationElement>(database_.declaration(full))) {
        // Declaration files are read more than once where several scenes include them.
        if (!sameDeclaration(*earlier, *declaration)) {
            error(locationOf(nameOf), "\"{}\" is declared with other parameters or another result than at {}",
                  full, earlier->location.text());
        }
        return;
    }
    database_.setDeclaration(full, database_.add(std::move(declaration)));
}

} // namespace orca::scene

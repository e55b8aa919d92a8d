// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <bit>

namespace orca::scene {

namespace {

std::uint32_t bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

bool isTextureType(miParam_type type) {
    return type == miTYPE_COLOR_TEXTURE || type == miTYPE_SCALAR_TEXTURE || type == miTYPE_VECTOR_TEXTURE ||
           type == miTYPE_TEXTURE;
}

/// Whether a result fits one element of a parameter.
bool connects(const Parameter& parameter, const Parameter& result) {
    if (result.isArray) return false;
    Parameter element = parameter;
    element.isArray = false;
    if (element.sameShape(result)) return true;
    const auto isWhole = [](miParam_type type) { return type == miTYPE_BOOLEAN || type == miTYPE_INTEGER; };
    if (isWhole(element.type) && isWhole(result.type)) return true;
    // The general texture type takes any of the three, and gives to any.
    return isTextureType(element.type) && isTextureType(result.type) &&
           (element.type == miTYPE_TEXTURE || result.type == miTYPE_TEXTURE);
}

} // namespace

Value Reader::readValue(const Parameter& parameter, const ShaderUse& use,
                        const std::string& declarationName) {
    return parameter.isArray ? readArray(parameter, use, declarationName)
                             : readElement(parameter, use, declarationName);
}

Value Reader::readElement(const Parameter& parameter, const ShaderUse& use,
                          const std::string& declarationName) {
    const Token token = peek();
    Value value;
    if (token.is('=')) {
        value = readConnection(parameter, use);
    } else if (parameter.type == miTYPE_STRUCT && !token.isWord("null")) {
        expect('{', "the name of a struct parameter");
        value.kind = Value::Kind::Struct;
        value.items.resize(parameter.members.size());
        readParameters(parameter.members, value.items, '}', use,
                       declarationName + "\" in its \"" + parameter.name);
    } else {
        value = readLiteral(parameter);
    }
    value.line = static_cast<int>(token.line);
    value.column = static_cast<int>(token.column);
    return value;
}

Value Reader::readArray(const Parameter& parameter, const ShaderUse& use,
                        const std::string& declarationName) {
    Value array;
    array.kind = Value::Kind::Array;
    const Token token = peek();
    if (accept("null")) return array;
    if (token.is('=')) {
        Value value = readConnection(parameter, use);
        if (value.kind == Value::Kind::Connection) {
            error(locationOf(token), "an array cannot be connected as a whole; connect its elements");
            return array;
        }
        return value;
    }
    if (!accept('[')) fail(token, "expected \"[\" before the elements of an array, not {}", token.shown());
    Parameter element = parameter;
    element.isArray = false;
    bool packed = parameter.type != miTYPE_STRUCT;
    const std::size_t elementWords = parameter.elementSize / 4;
    const auto unpack = [&] {
        packed = false;
        for (std::size_t i = 0; i < array.words.size(); i += elementWords) {
            Value& item = array.items.emplace_back();
            item.kind = Value::Kind::Literal;
            item.words.assign(array.words.begin() + i, array.words.begin() + i + elementWords);
        }
        array.words.clear();
    };
    while (!accept(']')) {
        Value item = readElement(element, use, declarationName);
        if (packed && item.kind != Value::Kind::Literal) unpack();
        if (packed) {
            item.words.resize(elementWords);
            array.words.insert(array.words.end(), item.words.begin(), item.words.end());
        } else {
            array.items.push_back(std::move(item));
        }
        if (!accept(',') && !peek().is(']')) {
            fail(peek(), "expected \",\" or \"]\" after an element of \"{}\", not {}", parameter.name,
                 peek().shown());
        }
    }
    return array;
}

Value Reader::readLiteral(const Parameter& parameter) {
    Value value;
    value.kind = Value::Kind::Literal;
    const auto wrong = [&](std::string_view expected) {
        fail(peek(), "\"{}\" is declared as {}: expected {}, not {}", parameter.name, parameter.typeText(),
             expected, peek().shown());
    };
    const auto readNumbers = [&](int count) {
        for (int i = 0; i < count; ++i) {
            if (!atNumber()) wrong(fmt::format("{} number{}", count, count == 1 ? "" : "s"));
            value.words.push_back(bits(next().number));
        }
    };
    switch (parameter.type) {
    case miTYPE_BOOLEAN:
        if (const std::optional<bool> given = acceptBoolean()) {
            value.words = {*given ? 1u : 0u};
        } else if (peek().kind == Token::Kind::Integer && (peek().integer == 0 || peek().integer == 1)) {
            value.words = {static_cast<std::uint32_t>(next().integer)};
        } else {
            wrong("\"on\" or \"off\"");
        }
        break;
    case miTYPE_INTEGER:
        if (peek().kind != Token::Kind::Integer) wrong("an integer");
        value.words = {static_cast<std::uint32_t>(integer("an integer"))};
        break;
    case miTYPE_SCALAR: readNumbers(1); break;
    case miTYPE_VECTOR: readNumbers(3); break;
    case miTYPE_TRANSFORM: readNumbers(16); break;
    case miTYPE_COLOR: {
        const Profile profile = accept("colorprofile") ? readColorProfileName() : Profile{};
        readNumbers(3);
        float color[3];
        std::transform(value.words.begin(), value.words.end(), color, [&](std::uint32_t word) {
            return linearFrom(profile.builtIn, std::bit_cast<float>(word));
        });
        if (profile.spaces) profile.spaces->makeLinear(profile.space, color, 1);
        std::transform(color, color + 3, value.words.begin(), [](float channel) { return bits(channel); });
        value.words.push_back(atNumber() ? bits(next().number) : 0);
        break;
    }
    case miTYPE_STRING:
        if (accept("null")) {
            value.words = {miNULLTAG};
        } else {
            if (!atString()) wrong("a quoted string");
            value.words = {database_.internString(next().text)};
        }
        break;
    case miTYPE_STRUCT:
        accept("null");
        value.kind = Value::Kind::Struct;
        value.items.resize(parameter.members.size());
        break;
    default:
        if (!peek().isName()) wrong("a name");
        value.words = {readTagLiteral(parameter.type)};
    }
    return value;
}

miTag Reader::readTagLiteral(miParam_type type) {
    if (accept("null")) return miNULLTAG;
    const Token token = next();
    if (type == miTYPE_LIGHT) return lightReference(token);
    if (isTextureType(type)) {
        const miTag tag = reference(token, {miSCENE_TEXTURE, miSCENE_FUNCTION}, "a texture");
        const auto* texture = database_.find<TextureElement>(tag);
        using Kind = TextureElement::Kind;
        const bool fits = !texture || type == miTYPE_TEXTURE ||
                          (type == miTYPE_COLOR_TEXTURE && texture->kind == Kind::Color) ||
                          (type == miTYPE_SCALAR_TEXTURE && texture->kind == Kind::Scalar) ||
                          (type == miTYPE_VECTOR_TEXTURE && texture->kind == Kind::Vector);
        if (!fits)
            error(locationOf(token), "\"{}\" is a texture of another kind than {}", token.text,
                  typeName(type));
        return tag;
    }
    switch (type) {
    case miTYPE_SHADER: return reference(token, {miSCENE_FUNCTION}, "a named shader");
    case miTYPE_MATERIAL: return reference(token, {miSCENE_MATERIAL}, "a material");
    case miTYPE_GEOMETRY:
        return reference(token, {miSCENE_OBJECT, miSCENE_INSTANCE, miSCENE_GROUP},
                         "an object, an instance or an instance group");
    case miTYPE_LIGHTPROFILE: return reference(token, {miSCENE_LIGHTPROFILE}, "a light profile");
    case miTYPE_DATA: return reference(token, {miSCENE_USERDATA}, "a data block");
    default: return reference(token, {miSCENE_OTHER}, "a spectrum");
    }
}

const Parameter* Reader::memberOf(const Parameter& result, std::string_view path, int& offset) const {
    // Names may contain dots, so the whole path is tried as one before it is split.
    if (result.type != miTYPE_STRUCT || result.isArray) return nullptr;
    if (const Parameter* member = findParameter(result.members, path)) {
        offset += member->offset;
        return member;
    }
    for (std::size_t dot = path.rfind('.'); dot != std::string_view::npos && dot > 0;
         dot = path.rfind('.', dot - 1)) {
        const Parameter* outer = findParameter(result.members, path.substr(0, dot));
        int inner = outer ? offset + outer->offset : 0;
        const Parameter* member = outer ? memberOf(*outer, path.substr(dot + 1), inner) : nullptr;
        if (!member) continue;
        offset = inner;
        return member;
    }
    return nullptr;
}

Value Reader::readConnection(const Parameter& parameter, const ShaderUse& use) {
    const Token equals = next();
    if (peek().isWord("interface") && peek(1).isName()) {
        next();
        return readInterfaceReference(parameter);
    }
    const Token token = nameToken("a shader to connect");
    Value value;
    if (!connectionsAllowed_) {
        error(locationOf(equals), "{}: parameters of this kind cannot be connected to shaders", use.owner);
        return value;
    }
    const std::string_view text = token.text;
    const auto functionCalled = [&](std::string_view shader) {
        return database_.find<FunctionElement>(lookUp(shader));
    };
    const FunctionElement* source = functionCalled(text);
    const Parameter* result = source ? &source->declaration->result : nullptr;
    int offset = 0;
    std::size_t dot = source ? std::string_view::npos : text.rfind('.');
    for (; !source && dot != std::string_view::npos && dot > 0; dot = text.rfind('.', dot - 1)) {
        source = functionCalled(text.substr(0, dot));
        if (!source) continue;
        result = memberOf(source->declaration->result, text.substr(dot + 1), offset);
        if (!result) {
            std::string known;
            for (const Parameter& member : source->declaration->result.members) {
                known += (known.empty() ? "\"" : ", \"") + member.name + '"';
            }
            error(locationOf(token), "{}: the result of \"{}\" has no member \"{}\"{}", use.owner,
                  text.substr(0, dot), text.substr(dot + 1), known.empty() ? "" : "; it has " + known);
            return value;
        }
    }
    if (!source) {
        reference(token, {miSCENE_FUNCTION}, "a named shader");
        return value;
    }
    if (!connects(parameter, *result)) {
        std::string hint;
        if (result->type == miTYPE_STRUCT && !result->members.empty()) {
            hint = fmt::format("; name one member, as in \"{}.{}\"", text, result->members.front().name);
        }
        error(locationOf(token), "{}: \"{}\" is {}, but \"{}\" gives {}{}", use.owner, parameter.name,
              withArticle(typeName(parameter.type)), text, withArticle(result->typeText()), hint);
        return value;
    }
    value.kind = Value::Kind::Connection;
    value.connection = {source->tag, offset, parameter.type != result->type};
    return value;
}

Value Reader::readInterfaceReference(const Parameter& parameter) {
    const Token token = nameToken("an interface parameter");
    Value value;
    if (!phenomenon_) {
        error(locationOf(token), "\"interface\" has a meaning only inside a phenomenon");
        return value;
    }
    int offset = 0;
    Parameter whole;
    whole.type = miTYPE_STRUCT;
    whole.members = phenomenon_->parameters;
    const Parameter* source = memberOf(whole, token.text, offset);
    if (!source) {
        error(locationOf(token), "phenomenon \"{}\" has no interface parameter \"{}\"", phenomenon_->name,
              token.text);
        return value;
    }
    if (source->isArray != parameter.isArray || (!source->isArray && !connects(parameter, *source)) ||
        (source->isArray && !source->sameShape(parameter))) {
        error(locationOf(token), "\"{}\" is {}, but the interface parameter \"{}\" is {}", parameter.name,
              withArticle(parameter.typeText()), token.text, withArticle(source->typeText()));
        return value;
    }
    value.kind = Value::Kind::Interface;
    value.interfaceName = std::string(token.text);
    return value;
}

} // namespace orca::scene

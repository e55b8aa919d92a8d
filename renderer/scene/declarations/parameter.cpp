// SPDX-License-Identifier: Apache-2.0
#include "scene/declarations/parameter.h"

#include <algorithm>

namespace orca::scene {

int simpleTypeSize(miParam_type type) {
    switch (type) {
    case miTYPE_STRUCT: return 0;
    case miTYPE_VECTOR: return 12;
    case miTYPE_COLOR: return 16;
    case miTYPE_TRANSFORM: return 64;
    default: return 4;
    }
}

std::string_view typeName(miParam_type type) {
    switch (type) {
    case miTYPE_BOOLEAN: return "boolean";
    case miTYPE_INTEGER: return "integer";
    case miTYPE_SCALAR: return "scalar";
    case miTYPE_STRING: return "string";
    case miTYPE_COLOR: return "color";
    case miTYPE_VECTOR: return "vector";
    case miTYPE_TRANSFORM: return "transform";
    case miTYPE_SHADER: return "shader";
    case miTYPE_COLOR_TEXTURE: return "color texture";
    case miTYPE_SCALAR_TEXTURE: return "scalar texture";
    case miTYPE_VECTOR_TEXTURE: return "vector texture";
    case miTYPE_TEXTURE: return "texture";
    case miTYPE_LIGHT: return "light";
    case miTYPE_MATERIAL: return "material";
    case miTYPE_GEOMETRY: return "geometry";
    case miTYPE_LIGHTPROFILE: return "lightprofile";
    case miTYPE_DATA: return "data";
    case miTYPE_SPECTRUM: return "spectrum";
    case miTYPE_STRUCT: return "struct";
    case miTYPE_ARRAY: return "array";
    }
    return "?";
}

bool isTagType(miParam_type type) {
    switch (type) {
    case miTYPE_BOOLEAN:
    case miTYPE_INTEGER:
    case miTYPE_SCALAR:
    case miTYPE_COLOR:
    case miTYPE_VECTOR:
    case miTYPE_TRANSFORM:
    case miTYPE_STRUCT:
    case miTYPE_ARRAY: return false;
    default: return true;
    }
}

bool Parameter::sameShape(const Parameter& other) const {
    return type == other.type && isArray == other.isArray &&
           std::equal(members.begin(), members.end(), other.members.begin(), other.members.end(),
                      [](const Parameter& a, const Parameter& b) { return a.sameShape(b); });
}

std::string Parameter::typeText() const {
    return std::string(isArray ? "array " : "") + std::string(typeName(type));
}

int layOut(std::vector<Parameter>& parameters) {
    int end = 0;
    for (Parameter& parameter : parameters) {
        parameter.offset = end;
        parameter.elementSize =
            parameter.type == miTYPE_STRUCT ? layOut(parameter.members) : simpleTypeSize(parameter.type);
        end += parameter.size();
    }
    return end;
}

std::string textOf(const std::vector<Parameter>& parameters) {
    std::string text;
    for (const Parameter& parameter : parameters) {
        if (!text.empty()) text += ", ";
        text += parameter.typeText() + " \"" + parameter.name + '"';
        if (parameter.type == miTYPE_STRUCT) text += " { " + textOf(parameter.members) + " }";
    }
    return text;
}

const Parameter* findParameter(const std::vector<Parameter>& parameters, std::string_view name) {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const Parameter& parameter) { return parameter.name == name; });
    return found == parameters.end() ? nullptr : &*found;
}

} // namespace orca::scene

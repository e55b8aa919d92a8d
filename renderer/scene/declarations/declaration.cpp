// SPDX-License-Identifier: Apache-2.0
#include "scene/declarations/declaration.h"

#include "scene/declarations/phenomenon.h"

#include <algorithm>
#include <cctype>

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

const Parameter* findParameter(const std::vector<Parameter>& parameters, std::string_view name) {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const Parameter& parameter) { return parameter.name == name; });
    return found == parameters.end() ? nullptr : &*found;
}

namespace {

/// Letters to add, drop, replace or swap with their neighbour to get from one word to the other; case is free
/// (optimal string alignment after Damerau, "A technique for computer detection and correction of spelling
/// errors", 1964).
std::size_t editDistance(std::string_view a, std::string_view b) {
    const auto same = [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    };
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = last[j - 1] + !same(a[i - 1], b[j - 1]);
            row[j] = std::min({row[j - 1] + 1, last[j] + 1, change});
            const bool swapped = i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]);
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

} // namespace

std::string nearestName(std::string_view wanted, const std::vector<std::string_view>& names) {
    constexpr std::size_t longestGuessed = 100; // noise is not a slip of the finger
    if (wanted.empty() || wanted.size() > longestGuessed) return {};
    std::string_view nearest;
    // A third of the letters may be wrong before the word counts as another one.
    std::size_t allowed = std::max<std::size_t>(1, wanted.size() / 3);
    for (const std::string_view name : names) {
        if (name.size() > longestGuessed) continue;
        const std::size_t distance = editDistance(wanted, name);
        if (distance > allowed || (distance == allowed && !nearest.empty())) continue;
        nearest = name;
        allowed = distance;
    }
    return std::string(nearest);
}

DeclarationElement::DeclarationElement(Kind declarationKind)
    : Element(declarationKind == Kind::Phenomenon ? miSCENE_PHENOMENON_DECL : miSCENE_FUNCTION_DECL),
      kind(declarationKind) {
    result.elementSize = simpleTypeSize(result.type);
}

DeclarationElement::~DeclarationElement() = default;

} // namespace orca::scene

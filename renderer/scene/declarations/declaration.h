// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/value.h"
#include "scene/elements/element.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

/// A declared parameter, result or member. Offsets follow from the interface's rule: everything is made of
/// 32-bit words without padding; an array is a start index, a count and room for one element.
struct Parameter {
    std::string name;
    miParam_type type = miTYPE_COLOR; ///< of one element where isArray
    bool isArray = false;
    std::vector<Parameter> members;            ///< of a struct, in order
    std::shared_ptr<const Value> defaultValue; ///< null: all bits zero

    int offset = 0;      ///< bytes from the start of the block, or of the enclosing struct element
    int elementSize = 0; ///< bytes of one element, or of the parameter when it is no array
    [[nodiscard]] int size() const { return isArray ? 8 + elementSize : elementSize; }

    /// True when values, blocks and results of the two can stand for each other; names do not matter.
    [[nodiscard]] bool sameShape(const Parameter& other) const;
    /// As a scene file spells it: "array struct", "color".
    [[nodiscard]] std::string typeText() const;
};

/// Bytes of one value of a type; 0 for structs, whose size is their members'.
[[nodiscard]] int simpleTypeSize(miParam_type type);
[[nodiscard]] std::string_view typeName(miParam_type type);
/// Types whose value is the tag of an element.
[[nodiscard]] bool isTagType(miParam_type type);

/// Sets offsets and sizes of parameters that stand in one struct or block; returns its size in bytes.
int layOut(std::vector<Parameter>& parameters);
[[nodiscard]] const Parameter* findParameter(const std::vector<Parameter>& parameters, std::string_view name);
/// The closest of the names, when one is close enough to be what was meant; else empty.
[[nodiscard]] std::string nearestName(std::string_view wanted, const std::vector<std::string_view>& names);

/// What a shader says that it needs from the options.
struct Requirements {
    std::optional<bool> trace, scanline;
    std::optional<char> shadow; ///< as miOptions::shadow
    std::vector<std::string> others;
};

struct PhenomenonBody;

/// `declare shader`, `declare phenomenon` or `declare data`.
struct DeclarationElement final : Element {
    enum class Kind { Shader, Phenomenon, Data };
    explicit DeclarationElement(Kind declarationKind);
    ~DeclarationElement() override;
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(DeclarationElement); }

    Kind kind;
    std::string symbol; ///< name of the C function: the name without its namespace
    std::vector<Parameter> parameters;
    int fixedSize = 0; ///< bytes of the block without array tails
    Parameter result;  ///< a colour unless declared otherwise; a struct's members have offsets
    int version = 0;
    std::vector<std::string> apply;
    Requirements requirements;
    std::unique_ptr<PhenomenonBody> body; ///< of a phenomenon
};

} // namespace orca::scene

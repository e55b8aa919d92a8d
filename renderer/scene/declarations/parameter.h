// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/value.h"

#include <shader.h>

#include <memory>
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

    /// True when values, blocks and results of the two are interchangeable; names do not matter.
    [[nodiscard]] bool sameShape(const Parameter& other) const;
    /// As a scene file spells it: "array struct", "color".
    [[nodiscard]] std::string typeText() const;
};

/// Bytes of one value of a type; 0 for structs, whose size is their members'.
[[nodiscard]] int simpleTypeSize(miParam_type type);
[[nodiscard]] std::string_view typeName(miParam_type type);
/// Types whose value is the tag of an element.
[[nodiscard]] bool isTagType(miParam_type type);

/// Sets offsets and sizes of the parameters of one struct or block; returns its size in bytes.
int layOut(std::vector<Parameter>& parameters);
/// A list of parameters as a scene file spells it, without defaults: `color "tint", array scalar "weights"`.
[[nodiscard]] std::string textOf(const std::vector<Parameter>& parameters);
[[nodiscard]] const Parameter* findParameter(const std::vector<Parameter>& parameters, std::string_view name);

} // namespace orca::scene

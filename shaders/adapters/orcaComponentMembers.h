// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaComponents.h"

#include <shader.h>

#include <cstddef>
#include <vector>

/// Where the components are in the result of a material, by the names of its members.
class ComponentMembers {
public:
    /// Reads the declaration of a shader's result. None are found when it returns no struct, or its first
    /// members are structs or arrays.
    ComponentMembers(miState* state, miTag shader);

    /// No member has a name that is known.
    [[nodiscard]] bool empty() const noexcept { return found_.empty(); }
    /// True when the member that is the picture, or that of the opacity, is among them.
    [[nodiscard]] bool hasColor() const noexcept { return hasColor_; }

    /// The components of a result; black where there is no member, opacity white.
    [[nodiscard]] MaterialComponents read(const char* result) const;

private:
    struct Found {
        miColor MaterialComponents::*component; ///< null: the normal
        int offset;                             ///< bytes into the result
        enum class Type : unsigned char { Color, Scalar, Vector } type;
    };
    void note(const char* name, std::size_t length, Found::Type type, int offset);

    std::vector<Found> found_;
    bool hasColor_ = false;
};

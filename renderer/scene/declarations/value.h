// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orca::scene {

/// A parameter that takes its value from another shader.
struct Connection {
    miTag source = miNULLTAG;        ///< shader instance, or head of a list, that is called
    int memberOffset = 0;            ///< bytes into its result
    bool booleanFromInteger = false; ///< only the kind of number differs; the word is taken as it is
};

/// A value as the scene gives it, before it is laid out in a block: kept with the shader, so that an
/// incremental change can replace single parameters.
struct Value {
    enum class Kind {
        Zero,       ///< not given
        Literal,    ///< `words`
        Connection, ///< `connection`
        Interface,  ///< `interfaceName`: a parameter of the enclosing phenomenon
        Struct,     ///< `items`, one per member
        Array       ///< `items`, one per element; or `words` where all are literals of a simple type
    };
    Kind kind = Kind::Zero;
    std::vector<std::uint32_t> words;
    std::vector<Value> items;
    Connection connection;
    std::string interfaceName;
    /// Where the value is in its file, for messages about phenomena.
    int line = 0, column = 0;
};

} // namespace orca::scene

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <limits>
#include <type_traits>

namespace orca::shading {

/// The caller's memory for a shader's result. A shader whose result is larger gets memory of its own, and the
/// caller gets the part that it has room for: of a record, the first member of the type that it wants.
struct ResultRoom {
    template <class T>
    ResultRoom(T* result) : at(result), bytes(sizeof(T)), wanted(partFor<T>()) {}
    ResultRoom(void* result, std::size_t size) : at(result), bytes(size) {}

    /// For callers that vouch for the size of their memory.
    static constexpr std::size_t anySize = std::numeric_limits<std::size_t>::max();

    enum Part { FirstColor, FirstScalar, FirstVector, partCount };
    template <class T>
    static constexpr Part partFor() {
        if (std::is_same_v<T, miScalar>) return FirstScalar;
        return std::is_same_v<T, miVector> ? FirstVector : FirstColor;
    }

    void* at;
    std::size_t bytes;
    Part wanted = FirstColor;
};

} // namespace orca::shading

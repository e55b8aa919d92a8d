// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the headers that check_declarations.py writes compare a declaration with: the types of a shader's
/// entry point, and rules of which C++ type stores which declared type.

#include <shader.h>

#include <cstddef>
#include <type_traits>

namespace orca::declared {

/// Types of a shader's entry point, `miBoolean name(Result*, miState*, Record*, ...)`. `Record` is void where
/// the entry point takes none.
template <class Function>
struct EntryPoint {
    static_assert(!std::is_same_v<Function, Function>,
                  "a shader is declared as miBoolean name(Result*, miState*, Record*)");
};
template <class R>
struct EntryPoint<miBoolean(R*, miState*)> {
    using Result = R;
    using Record = void;
};
template <class R, class P, class... Rest>
struct EntryPoint<miBoolean(R*, miState*, P*, Rest...)> {
    using Result = R;
    using Record = P;
};

/// Shaders of contour lines: store, contrast and line. What they return is no result of a parameter's type.
template <class Info, class P>
struct EntryPoint<miBoolean(Info*, int*, miState*, P*, miColor*)> {
    using Result = void;
    using Record = P;
};
template <class Info, class P>
struct EntryPoint<miBoolean(Info*, Info*, int, miState*, P*)> {
    using Result = void;
    using Record = P;
};
template <class Info, class P>
struct EntryPoint<miBoolean(miContour_endpoint*, Info*, Info*, miState*, P*)> {
    using Result = void;
    using Record = P;
};

template <class Field, class Declared>
inline constexpr bool stores = std::is_same_v<Field, Declared>;
/// Integers of parameter blocks may be unsigned in the record.
template <>
inline constexpr bool stores<miUint, miInteger> = true;

/// One concept with one term: the compiler then names both types when they differ.
template <class RecordField, class Declared>
concept SameType = stores<RecordField, Declared>;

/// True for the type itself, and for a record whose only member is of it.
template <class Returned, class Declared>
inline constexpr bool returns = stores<Returned, Declared>;
template <class Returned, class Declared>
requires(std::is_class_v<Returned> && sizeof(Returned) == sizeof(Declared) && requires(Declared value) {
    Returned{value};
}) inline constexpr bool returns<Returned, Declared> = true;
/// State and contour shaders return nothing through their result.
template <>
inline constexpr bool returns<void, miBoolean> = true;

template <class ResultType, class Declared>
concept SameResult = returns<ResultType, Declared>;

/// What a shader without parameters may take for its record.
template <class Record>
concept NoFields = std::is_void_v<Record> || std::is_empty_v<Record>;

} // namespace orca::declared

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// What a shader asks `mi_query` about. State and tag may be null; `result` is not.
struct Query {
    miState* state;
    miTag tag;
    void* result;
    void* second; ///< the fifth argument; null where the code has none

    /// Writes the answer, whose type is part of the interface. True, so that an answer can end with it.
    template <class T>
    bool give(const T& value) const {
        *static_cast<T*>(result) = value;
        return true;
    }
};

/// Answers `mi_query`, in constant time. False, and the result untouched, for an unknown code and where there
/// is no answer.
[[nodiscard]] bool answerQuery(miQ_type code, const Query& query);

} // namespace orca::render

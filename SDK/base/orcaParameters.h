// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Value of a parameter of the running shader: computed when the parameter is connected, else as stored. The
/// field may belong to a base of the record.
template <class P, class Base, class T>
[[nodiscard]] T parameterValue(miState* state, P* record, T Base::*field) {
    return *static_cast<T*>(mi_eval(state, &(record->*field)));
}

/// True when another shader computes the parameter.
template <class P, class Base, class T>
[[nodiscard]] bool isConnected(const miState* state, P* record, T Base::*field) {
    return mi_is_connected(state, &(record->*field));
}

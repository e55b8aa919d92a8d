// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Value of a parameter of the running shader: computed when the parameter is connected, else as stored.
template <class P, class T>
[[nodiscard]] T parameterValue(miState* state, P* record, T P::*field) {
    return *static_cast<T*>(mi_eval(state, &(record->*field)));
}

/// True when another shader computes the parameter.
template <class P, class T>
[[nodiscard]] bool isConnected(const miState* state, P* record, T P::*field) {
    return mi_is_connected(state, &(record->*field));
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/call_context.h"
#include "shading/shader_exceptions.h"

#include <shader.h>

#include <type_traits>

namespace orca::api {

/// An error in the active log, once for each function, with a count of the repeats.
void reportException(const char* function) noexcept;

// Every mi_* function calls something that is noexcept, or calls through one of these: shaders are C as far
// as this interface goes, so no exception of the renderer's own may unwind through them.

/// The body's value; where it throws, a report that names the function, and `onFailure`. The body calls no
/// shader.
template <class Body>
std::invoke_result_t<const Body&> guarded(const char* function, std::invoke_result_t<const Body&> onFailure,
                                          const Body& body) {
    try {
        return body();
    } catch (...) {
        reportException(function);
        return onFailure;
    }
}

template <class Body>
void guarded(const char* function, const Body& body) {
    static_assert(std::is_void_v<std::invoke_result_t<const Body&>>);
    try {
        body();
    } catch (...) {
        reportException(function);
    }
}

/// As `guarded` where the body may call shaders: what a shader threw passes through those that have called
/// it, and ends where the renderer began.
template <class Body>
std::invoke_result_t<const Body&> guardedCall(const char* function, const miState* state,
                                              std::invoke_result_t<const Body&> onFailure, const Body& body) {
    try {
        return body();
    } catch (...) {
        if (shading::isShaderException(shading::contextOf(state))) throw;
        reportException(function);
        return onFailure;
    }
}

} // namespace orca::api

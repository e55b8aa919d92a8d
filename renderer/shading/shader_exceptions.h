// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/call_context.h"

#include <exception>

namespace orca::shading {

/// True when the exception now being handled came out of a shader, against which the runtime has counted it;
/// false for the renderer's own.
[[nodiscard]] inline bool isShaderException(const CallContext& context) {
    return context.thrown && context.thrown == std::current_exception();
}

/// Calls `body`, which calls shaders, where the renderer itself begins. False when one of them threw: that
/// has passed through the shaders that called it, is counted, and ends here. The renderer's own exceptions
/// pass.
template <class Body>
bool withoutShaderExceptions(CallContext& context, const Body& body) {
    try {
        body();
        return true;
    } catch (...) {
        if (!isShaderException(context)) throw;
        context.thrown = nullptr;
        return false;
    }
}

} // namespace orca::shading

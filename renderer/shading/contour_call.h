// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/bound_shader.h"

#include <shader.h>

namespace orca::shading {

/// Call of a shader for contours, whose entry points have other arguments than those of all other shaders
/// (`mi/contour.h`).
struct ContourCall {
    enum class Kind { Store, Contrast, Line };

    [[nodiscard]] static ContourCall store(void* info, int* size, miColor* color) {
        return {Kind::Store, info, nullptr, size, 0, color, nullptr};
    }
    [[nodiscard]] static ContourCall contrast(void* info1, void* info2, int level) {
        return {Kind::Contrast, info1, info2, nullptr, level, nullptr, nullptr};
    }
    [[nodiscard]] static ContourCall line(miContour_endpoint* endpoint, void* near, void* far) {
        return {Kind::Line, near, far, nullptr, 0, nullptr, endpoint};
    }

    miBoolean enter(const BoundShader& shader, miState* state) const {
        using Store = miBoolean (*)(void*, int*, miState*, void*, miColor*);
        using Contrast = miBoolean (*)(void*, void*, int, miState*, void*);
        using Line = miBoolean (*)(miContour_endpoint*, void*, void*, miState*, void*);
        const auto function = reinterpret_cast<void (*)()>(shader.entry); // of whatever type it really has
        switch (kind) {
        case Kind::Store:
            return reinterpret_cast<Store>(function)(first, size, state, shader.parameters, color);
        case Kind::Contrast:
            return reinterpret_cast<Contrast>(function)(first, second, level, state, shader.parameters);
        case Kind::Line:
            return reinterpret_cast<Line>(function)(endpoint, first, second, state, shader.parameters);
        }
        return miFALSE;
    }

    Kind kind;
    void *first, *second;
    int* size;
    int level;
    miColor* color;
    miContour_endpoint* endpoint;
};

} // namespace orca::shading

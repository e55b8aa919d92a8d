// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca {

/// Small mirrors that a rough surface consists of.
struct Facets {
    miVector normal, along, across; ///< orthonormal
    float widthAlong, widthAcross;  ///< Ward's alpha: slope of the facets in either direction, above 0
};

/// Equally rough in all directions. @param shiny 1 / alpha
[[nodiscard]] Facets facetsOf(const miVector& normal, float shiny) noexcept;
/// @param u, v directions of the two; made perpendicular to the normal and to each other, v after u
[[nodiscard]] Facets facetsOf(const miVector& normal, const miVector& u, const miVector& v, float shinyU,
                              float shinyV) noexcept;

} // namespace orca

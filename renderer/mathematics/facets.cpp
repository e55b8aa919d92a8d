// SPDX-License-Identifier: Apache-2.0
#include "mathematics/facets.h"

#include "base/orthonormal_basis.h"
#include "base/vectors.h"

#include <algorithm>

namespace orca {

namespace {

float widthOf(float shiny) {
    return 1.0f / std::clamp(shiny, 1e-3f, 1e5f);
}

} // namespace

Facets facetsOf(const miVector& normal, float shiny) noexcept {
    const OrthonormalBasis basis = basisAbout(normal);
    return {normal, basis.x, basis.y, widthOf(shiny), widthOf(shiny)};
}

Facets facetsOf(const miVector& normal, const miVector& u, const miVector& v, float shinyU,
                float shinyV) noexcept {
    constexpr float leastSquare = 1e-12f; // of tangents that still have a direction
    miVector along = u - dot(u, normal) * normal;
    if (dot(along, along) < leastSquare) along = cross(v, normal);
    if (dot(along, along) < leastSquare) along = basisAbout(normal).x;
    along = normalized(along);
    return {normal, along, cross(normal, along), widthOf(shinyU), widthOf(shinyV)};
}

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Geometric attenuation of V-shaped facets over the cosine of the view: the smallest of the shadowed, masked
/// and unattenuated shares (R. Cook and K. Torrance, "A Reflectance Model for Computer Graphics", 1982, there
/// called G).
/// @param nDotL, nDotV cosines of light and viewer with the normal, nDotV not 0
/// @param nDotH, vDotH cosines of the halfway direction with normal and viewer
[[nodiscard]] inline miScalar facetAttenuation(miScalar nDotL, miScalar nDotV, miScalar nDotH,
                                               miScalar vDotH) noexcept {
    if (nDotL > nDotV) {
        if (vDotH > 2.0f * nDotH * nDotV) return 2.0f * nDotH / vDotH;
    } else if (vDotH > 2.0f * nDotH * nDotL) {
        return 2.0f * nDotH * nDotL / (vDotH * nDotV);
    }
    return 1.0f / nDotV;
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "mathematics/facets.h"

#include <shader.h>

namespace orca {

/// A place in [0, 1)^2 that a random direction is made from.
struct SamplePlace {
    float x, y;
};

// Directions are unit. Incoming ones point at the surface; the normal is on their side of it.

[[nodiscard]] miVector mirrorDirection(const miVector& incoming, const miVector& normal) noexcept;
/// By Snell's law. @param ior index of refraction before the surface over that behind it
/// False, and `refracted` untouched, at total reflection.
[[nodiscard]] bool refract(const miVector& incoming, const miVector& normal, float ior,
                           miVector& refracted) noexcept;

/// Distributed by the cosine to the axis.
[[nodiscard]] miVector cosineDirection(const miVector& axis, SamplePlace place) noexcept;
/// Normal of a facet by Ward's distribution (B. Walter, "Notes on the Ward BRDF", 2005).
[[nodiscard]] miVector facetNormal(const Facets& facets, SamplePlace place) noexcept;
/// Mirrored at a facet; directions into the surface are mirrored at its plane.
[[nodiscard]] miVector glossyReflection(const miVector& incoming, const Facets& facets,
                                        SamplePlace place) noexcept;
/// Refracted at a facet; as `refract`.
[[nodiscard]] bool glossyRefraction(const miVector& incoming, const Facets& facets, float ior,
                                    SamplePlace place, miVector& refracted) noexcept;

} // namespace orca

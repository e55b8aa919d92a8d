// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reflection components: constructed from (state, record) once per shading call. A material with reflections
/// defines a type with these two members; compute_reflection traces for it.

#include "orcaColor.h"
#include "orcaTracing.h"

/// No reflections.
template <class P>
class DefaultReflectionComponent {
public:
    DefaultReflectionComponent(miState*, P*) {}
    /// Reflectivity at a facing ratio (cosine between the normal and the direction to the ray's origin).
    [[nodiscard]] miColor materialColor(miScalar) const { return BLACK; }
    /// Traced reflection, weighted by the reflectivity. Its pass values have been accumulated to the parent
    /// level.
    [[nodiscard]] miColor operator()(miState*, const TraceContext&) const { return BLACK; }
};

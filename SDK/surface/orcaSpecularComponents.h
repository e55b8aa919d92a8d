// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Specular components: constructed from (state, record) once per shading call, evaluated once per light
/// sample. A material with highlights defines a type with these three members.

#include "orcaColor.h"
#include "orcaLightSample.h"

/// No highlights.
template <class P>
class DefaultSpecularComponent {
public:
    /// False: the pipeline skips the evaluation.
    static constexpr bool present = false;

    DefaultSpecularComponent(miState*, P*) {}
    /// Reflectance at the highlight's peak.
    [[nodiscard]] miColor materialColor() const { return BLACK; }
    /// Share of the light that the highlight reflects, before the light's colour.
    [[nodiscard]] miColor operator()(miState*, const LightSample&) const { return BLACK; }
};

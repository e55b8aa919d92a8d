// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaParameters.h"

/// The surface's own ambient light.
template <class P>
class DefaultAmbientMaterialColorComponent {
public:
    DefaultAmbientMaterialColorComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::ambientColor)) {}
    [[nodiscard]] miColor operator()() const { return color_; }

private:
    miColor color_;
};

/// Ambient light that the surface reflects.
template <class P>
class DefaultAmbientComponent {
public:
    DefaultAmbientComponent(miState*, P*) {}
    [[nodiscard]] miColor operator()(const miColor& ambientLight, const miColor& color) const {
        return ambientLight * color;
    }
};

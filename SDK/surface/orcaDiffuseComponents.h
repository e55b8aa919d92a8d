// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaParameters.h"

/// Diffuse reflectance.
template <class P>
class DefaultDiffuseMaterialColorComponent {
public:
    DefaultDiffuseMaterialColorComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::color)),
          diffuse_(parameterValue(state, record, &P::diffuse)) {}
    [[nodiscard]] miColor operator()() const { return withAlpha(color_ * diffuse_, 1.0f); }
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_; }

private:
    miColor color_;
    miScalar diffuse_;
};

/// Lambert's cosine law. Share of a light sample that the surface reflects, before the light's colour.
template <class P>
class DefaultDiffuseComponent {
public:
    DefaultDiffuseComponent(miState*, P*) {}
    [[nodiscard]] miColor operator()(const miColor& reflectance, miScalar nDotL) const {
        return nDotL >= 0.0f ? reflectance * nDotL : BLACK;
    }
};

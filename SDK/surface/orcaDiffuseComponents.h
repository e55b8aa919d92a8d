// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Diffuse components: constructed from (state, record) or (state, record, material colour) once per shading
/// call, evaluated once per light sample. Members that a component may have besides the call operator:
///     miScalar cosine(const miVector& toLight)          it receives light from all around, as fibres do:
///                                                       lights are sampled without a horizon, and once also
///                                                       where the surface is met from its back
///     DiffuseShares ofSample(const LightSample& sample) with it, in place of the call operator
///     std::optional<OwnDiffuseLight> ownLight()         diffuse light that is no sum over light samples

#include "orcaColor.h"
#include "orcaParameters.h"

/// Shares of a light sample, before the light's colour.
struct DiffuseShares {
    miColor reflected;
    miColor through; ///< transmitted; passes take it for translucence
};

struct OwnDiffuseLight {
    miColor shadowed, unshadowed;
};

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

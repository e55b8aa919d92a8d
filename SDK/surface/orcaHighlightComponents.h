// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Specular components with a highlight (see orcaSpecularComponents.h for their interface).

#include "orcaAnisotropicFacets.h"
#include "orcaColor.h"
#include "orcaLightSample.h"
#include "orcaParameters.h"
#include "orcaSpecular.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

template <class P>
class PhongSpecularComponent {
public:
    static constexpr bool present = true;

    PhongSpecularComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::specularColor)),
          exponent_(std::max(0.0f, parameterValue(state, record, &P::cosinePower))) {}
    [[nodiscard]] const miColor& materialColor() const noexcept { return color_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        return color_ * compute_phong_specular(&sample.mirror, &sample.specularDirection, state, exponent_,
                                               sample.nDotL);
    }

private:
    miColor color_;
    miScalar exponent_;
};

template <class P>
class PhongESpecularComponent {
public:
    static constexpr bool present = true;

    PhongESpecularComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::specularColor)),
          roughness_(std::max(0.0f, parameterValue(state, record, &P::roughness))),
          size_(extent(parameterValue(state, record, &P::highlightSize))),
          whiteness_(parameterValue(state, record, &P::whiteness)) {}
    [[nodiscard]] const miColor& materialColor() const noexcept { return color_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        return color_ * compute_phongE_specular(&sample.mirror, whiteness_, roughness_, size_, sample.nDotL,
                                                &sample.specularDirection, state);
    }

private:
    /// Squared, so that equal steps of the size look equal; never 0.
    static miScalar extent(miScalar size) noexcept {
        if (std::abs(size) < VELA_EPS) return 8.1e-7f;
        const miScalar root = size * 0.969f + 0.03f;
        return root * root;
    }

    miColor color_;
    miScalar roughness_, size_, whiteness_;
};

template <class P>
class BlinnSpecularComponent {
public:
    static constexpr bool present = true;

    BlinnSpecularComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::specularColor)),
          eccentricity_(parameterValue(state, record, &P::eccentricity)),
          rollOff_(parameterValue(state, record, &P::specularRollOff)),
          viewCosine_(std::max(-dot(state->normal, state->dir), VELA_EPS)) {}
    [[nodiscard]] const miColor& materialColor() const noexcept { return color_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        // Where the light's and the half vector's cosines are both negative, their product over the small
        // view cosine would be large.
        const miScalar lightCosine = std::max(0.0f, dot(state->normal, sample.specularDirection));
        return color_ * compute_blinn_specular(&sample.specularDirection, &state->normal, state, lightCosine,
                                               viewCosine_, eccentricity_, rollOff_, sample.nDotL);
    }

private:
    miColor color_;
    miScalar eccentricity_, rollOff_;
    miScalar viewCosine_; ///< an interpolated normal may lean away from the viewer
};

/// Width of the slopes of facets; below the least, a point light's highlight would fall between the samples.
[[nodiscard]] inline miScalar facetWidth(miScalar roughness, miScalar spread) noexcept {
    return std::clamp(roughness * spread, 0.01f, 1.0f);
}

template <class P>
class AnisotropicSpecularComponent {
public:
    static constexpr bool present = true;

    AnisotropicSpecularComponent(miState* state, P* record)
        : color_(parameterValue(state, record, &P::specularColor)),
          index_(parameterValue(state, record, &P::fresnelIndex)),
          facets_(facetsOf(state, record)) {}
    [[nodiscard]] const miColor& materialColor() const noexcept { return color_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        const miScalar strength = compute_anisotropic_specular(&facets_, &sample.specularDirection, state);
        if (!(strength > 0.0f)) return BLACK;
        const miVector half = normalized(sample.specularDirection - state->dir);
        return color_ * (strength * compute_anisotropic_reflectivity(-dot(half, state->dir), index_));
    }

private:
    static AnisotropicFacets facetsOf(miState* state, P* record) {
        const miScalar roughness = parameterValue(state, record, &P::roughness);
        return anisotropicFacets(state, parameterValue(state, record, &P::angle),
                                 facetWidth(roughness, parameterValue(state, record, &P::spreadX)),
                                 facetWidth(roughness, parameterValue(state, record, &P::spreadY)));
    }

    miColor color_;
    miScalar index_;
    AnisotropicFacets facets_;
};

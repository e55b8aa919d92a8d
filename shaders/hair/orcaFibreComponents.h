// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Components of the materials of fibres. The material colour evaluates the fibre once per shading call: its
/// frame, colour, opacity and highlights; the components ask it.

#include "orcaAmbientComponents.h"
#include "orcaCustomComponents.h"
#include "orcaDiffuseComponents.h"
#include "orcaIncandescenceComponents.h"
#include "orcaIndirectComponents.h"
#include "orcaLightSample.h"
#include "orcaParameters.h"
#include "orcaReflectionComponents.h"
#include "orcaShaderHelpers.h"
#include "orcaSurface.h"
#include "orcaTracing.h"

/// @tparam Fibre the material colour, with the static `shadowTransmission`
template <class P, class Fibre>
struct FibreShaderHelper : SurfaceShaderHelper<P> {
    [[nodiscard]] static miColor shadowTransmission(miState* state, P* record) {
        return parameterValue(state, record, &P::shadowTransmitAll)
                   ? WHITE
                   : Fibre::shadowTransmission(state, record);
    }
};

/// Light that the fibre scatters around, and through itself: translucence.
template <class P, class Fibre>
class FibreDiffuseComponent {
public:
    FibreDiffuseComponent(miState*, P*, const Fibre& fibre) : fibre_(fibre) {}
    [[nodiscard]] miScalar cosine(const miVector& toLight) const {
        return fibreCosine(fibre_.frame().along, toLight);
    }
    [[nodiscard]] DiffuseShares ofSample(const LightSample& sample) const { return fibre_.scattered(sample); }

private:
    const Fibre& fibre_;
};

/// Its highlights, times its opacity.
template <class P, class Fibre>
class FibreSpecularComponent {
public:
    static constexpr bool present = true;

    FibreSpecularComponent(miState*, P*, const Fibre& fibre) : fibre_(fibre) {}
    [[nodiscard]] miColor materialColor() const { return fibre_.highlightColor(); }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        return fibre_.opacity() * fibre_.highlights(state, sample);
    }

private:
    const Fibre& fibre_;
};

/// Of fibres that trace no rays. Transparency is left to the renderer.
template <class P, class Fibre>
class FibreRefractionComponent {
public:
    FibreRefractionComponent(miState*, P*, const Fibre&) {}
    [[nodiscard]] static bool on() noexcept { return false; }
    [[nodiscard]] miColor operator()(miState* state, P*, const TraceContext& context, bool,
                                     miColor& transparency) const {
        return compute_refraction(&transparency, {}, false, state, context);
    }
};

/// Nothing travels below the surface of a fibre besides what its model has.
template <class P>
class FibreScatterComponent {
public:
    FibreScatterComponent(miState*, P*) {}
    [[nodiscard]] static bool present() noexcept { return false; }
    [[nodiscard]] static miColor albedo() noexcept { return BLACK; }
    [[nodiscard]] const miColor* operator()(miState*, P*, bool, void*&, miColor&) const { return nullptr; }
};

template <class P, class Fibre, class AmbientColor = DefaultAmbientMaterialColorComponent<P>,
          class Reflection = DefaultReflectionComponent<P>,
          class Refraction = FibreRefractionComponent<P, Fibre>>
using FibreSurface =
    Surface<P, SurfaceShaderReturnType, FibreShaderHelper<P, Fibre>, AmbientColor, DefaultAmbientComponent<P>,
            Fibre, FibreDiffuseComponent<P, Fibre>, FibreSpecularComponent<P, Fibre>, Reflection, Refraction,
            FibreScatterComponent<P>, DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>,
            DefaultCustomComponent<P>>;

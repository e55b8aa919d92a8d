// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaComposite.h"
#include "orcaParameters.h"

/// Settings of a material family besides its components. Families derive from it and hide members that
/// differ.
template <class P>
struct SurfaceShaderHelper {
    /// The surface's transmittance for shadow rays.
    [[nodiscard]] static miColor shadowTransmission(miState* state, P* record) {
        return parameterValue(state, record, &P::shadowTransmitAll)
                   ? WHITE
                   : parameterValue(state, record, &P::transparency);
    }
    /// Coverage follows from the transparency that the renderer sees.
    static constexpr MatteRule matteRule = MATTE_OPACITY_GAIN;
    static constexpr miScalar matteOpacity = 1.0f;
};

template <class P>
struct LambertianShaderHelper : SurfaceShaderHelper<P> {};

/// Phong.
template <class P>
struct SpecularShaderHelper : SurfaceShaderHelper<P> {};

template <class P>
struct PhongEShaderHelper : SpecularShaderHelper<P> {};

template <class P>
struct BlinnShaderHelper : SpecularShaderHelper<P> {};

template <class P>
struct AnisotropicShaderHelper : SpecularShaderHelper<P> {};

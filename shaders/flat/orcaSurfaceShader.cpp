// SPDX-License-Identifier: Apache-2.0
#include "orcaSurfaceShader.h"

#include "orcaFlatMaterial.h"

namespace {

using P = SurfaceShaderParameters;
using R = SurfaceShaderReturnType;

/// The colours besides the shown one, and their fields of the result.
constexpr struct {
    miColor P::*parameter;
    miColor R::*slot;
} companions[] = {
    {&P::glowColor, &R::glowColor},
    {&P::matteOpacity, &R::matteOpacity},
    {&P::transparency, &R::transparency},
    {&P::ambient, &R::ambient},
    {&P::incandescence, &R::incandescence},
    {&P::irradiance, &R::irradiance},
    {&P::diffuse, &R::diffuse},
    {&P::diffuseUnshadowed, &R::diffuseUnshadowed},
    {&P::specular, &R::specular},
    {&P::specularUnshadowed, &R::specularUnshadowed},
    {&P::reflection, &R::reflection},
    {&P::refraction, &R::refraction},
    {&P::scatter, &R::scatter},
    {&P::translucence, &R::translucence},
    {&P::opacity, &R::opacity},
};

class SurfaceShaderClass : public FlatMaterial<P, ShaderHelper<P>> {
public:
    using FlatMaterial::FlatMaterial;

    miBoolean operator()(R* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        // A shadow ray's passes belong to the shadowed surface.
        if (state->type == miRAY_SHADOW && vela && vela->additivePasses) {
            result->color = evaluated(state, &record->color);
            for (const auto& [parameter, slot] : companions)
                result->*slot = evaluated(state, &(record->*parameter));
            return miTRUE;
        }
        const PassRecords passes(state);
        MixedInputs inputs(state, passes, vela, writesPasses());
        result->color = inputs.shown(&record->color, WHITE);
        for (const auto& [parameter, slot] : companions) result->*slot = inputs.value(&(record->*parameter));
        inputs.finish(result->transparency);
        writePicture(state, passes, result->color);
        return miTRUE;
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaSurfaceShader, SurfaceShaderReturnType, SurfaceShaderClass,
                   SurfaceShaderParameters, "orcaSurfaceShader", __LINE__)

#include "declared/orcaVelaSurfaceShader.h"

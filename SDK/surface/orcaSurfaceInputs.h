// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaComposite.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

/// One shading call of a material: the hit, the thread's records, and the components of the render mode.
struct ShadingCall {
    ShadingCall(miState* shaded, VelabaseState& thread)
        : state(shaded), vela(thread), passes(shaded, thread), additive(thread.additivePasses != 0) {}

    miState* state;
    VelabaseState& vela;
    const PassRecords passes;
    const bool additive; ///< passes add up to the picture, where what they are defined to hold would not
    bc composite{};      ///< empty until bc_construct has filled it

    /// @param components bits of CompositeComponents; any of them
    [[nodiscard]] bool wants(miUint components) const noexcept {
        return (composite.componentMask & components) != 0;
    }
    [[nodiscard]] bool skipsShadows() const noexcept { return composite.b == 0; }
};

/// The parameters that several steps of a shading call share. The ambient material colour is evaluated first,
/// then the diffuse one, which may bend the state's normal.
template <class P, class AmbientMaterialColor, class Ambient, class DiffuseMaterialColor>
struct SurfaceInputs {
    SurfaceInputs(miState* state, P* record)
        : ambientColor(AmbientMaterialColor(state, record)()),
          reflectance(state, record),
          transparency(transparencyOf(state, record, reflectance)),
          translucence(parameterValue(state, record, &P::translucence)),
          writePasses(parameterValue(state, record, &P::writePasses) != 0),
          throughputBoost(parameterValue(state, record, &P::throughputBoost)),
          glow(parameterValue(state, record, &P::compositeScalarA)),
          mirror(mirrored(state->dir, state->normal)),
          ambient(state, record) {
        if constexpr (requires { record->translucenceForward; }) {
            if (translucence == 0.0f) return;
            translucenceForward = parameterValue(state, record, &P::translucenceForward);
            translucenceWrap = parameterValue(state, record, &P::translucenceWrap);
        }
    }

    /// Multiplies a path's throughput by the weight of the surface.
    void attenuate(miColor& throughput) const {
        throughput *= (WHITE - transparency) * reflectance.color();
        if (throughputBoost > 1.0f) throughput *= throughputBoost;
    }
    /// Reflected ambient light of the material itself; black when the render mode has none.
    [[nodiscard]] miColor ambientTerm(const ShadingCall& call) const {
        return call.wants(COMPOSITE_AMBIENT) ? ambient(ambientColor, reflectance.color()) : BLACK;
    }

    miColor ambientColor;
    DiffuseMaterialColor reflectance;
    miColor transparency; ///< transmittance per channel
    miScalar translucence, translucenceForward = 0.0f, translucenceWrap = 0.0f;
    bool writePasses;
    miScalar throughputBoost;
    miScalar glow;
    miVector mirror; ///< mirror direction of the ray at the shading normal
    Ambient ambient;

private:
    /// The material colour's, where it has one, else the record's.
    static miColor transparencyOf(miState* state, P* record, const DiffuseMaterialColor& reflectance) {
        if constexpr (requires { reflectance.transparency(); }) return reflectance.transparency();
        else return parameterValue(state, record, &P::transparency);
    }
};

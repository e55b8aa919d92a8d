// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the materials of this library have in common: the shader object around a closure.

#include "velaLayerFrame.h"
#include "velaShading.h"

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaSurfaceBump.h"
#include "orcaUtilities.h"

#include <algorithm>
#include <string>

namespace vela {

/// A parameter, limited to 0 to 1.
template <class P, class Base>
[[nodiscard]] miScalar share(miState* state, P* record, miScalar Base::*field) {
    return std::clamp(parameterValue(state, record, field), 0.0f, 1.0f);
}
/// The same for a colour; alpha 0.
template <class P, class Base>
[[nodiscard]] miColor shareColor(miState* state, P* record, miColor Base::*field) {
    const miColor c = parameterValue(state, record, field);
    return {std::clamp(c.r, 0.0f, 1.0f), std::clamp(c.g, 0.0f, 1.0f), std::clamp(c.b, 0.0f, 1.0f), 0.0f};
}
/// What a layer of this albedo leaves; alpha 0.
[[nodiscard]] constexpr miColor rest(const miColor& c) noexcept {
    return {1.0f - c.r, 1.0f - c.g, 1.0f - c.b, 0.0f};
}

/// @tparam P      parameter record with opacity, bumpNormal, irradianceColor and irradiance
/// @tparam Layers constructed from (state, record, shading normal without bumps); has `closure` and `effort`,
///                and `name`, with which messages begin
template <class P, class Layers>
class MaterialShader : public Shader<P, ShaderHelper<P>> {
public:
    MaterialShader(miState*, P*) {}
    ~MaterialShader() override {
        for (void*& cache : scatterCaches_) destroy_scatter(this->state_, &cache);
    }

    miBoolean operator()(MaterialComponents* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        if (!vela) {
            orcaWarning(std::string(Layers::name) + "(): Internal state error.");
            return miFALSE;
        }
        if (state->type == miRAY_SHADOW) {
            result->opacity = withAlpha(shareColor(state, record, &P::opacity), 1.0f);
            return miTRUE;
        }
        const Restored<miVector> normal(state->normal);
        const Restored<miScalar> cosine(state->dot_nd);
        if (isConnected(state, record, &P::bumpNormal))
            bendNormal(state, parameterValue(state, record, &P::bumpNormal));
        const Layers layers(state, record, normal.before());
        shadeClosure(*result, state, *vela, layers.closure(), layers.effort(), &record->irradianceColor,
                     &record->irradiance, scatterCaches_);
        return miTRUE;
    }

private:
    mutable void* scatterCaches_[Closure::mostScatterLayers]{}; ///< made by compute_scatter
};

} // namespace vela

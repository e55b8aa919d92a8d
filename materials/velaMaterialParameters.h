// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaLayerFrame.h"
#include "velaMaterialShader.h"

#include "orcaColor.h"
#include "orcaParameters.h"
#include "orcaVelaState.h"

#include <shader.h>

/// What the parameter records of paints and skin begin with, in declaration order.
struct VelaMaterialParameters {
    miColor opacity;
    miVector bumpNormal;     // connected: the shading normal
    miColor ambientColor;    // even light from everywhere
    miColor irradianceColor; // weight of the indirect light
    miColor irradiance;      // connected: the indirect light itself
    miInteger reflectionSamples;
    miInteger highlightSamples;
    miInteger reflectionLimit;
    miInteger occlusionSamples;
    miScalar occlusionDistance;
};

namespace vela {

/// Sets what does not depend on the kind of material.
template <class P>
void beginClosure(Closure& closure, miState* state, P* record) {
    closure.frame = layerFrame(state, state->normal, 0.0f);
    closure.view = viewFrom(state, closure.frame);
    closure.opacity = withAlpha(shareColor(state, record, &P::opacity), 1.0f);
    closure.ambientLight = parameterValue(state, record, &P::ambientColor);
}

/// Scene units that a pixel covers at the state's point.
[[nodiscard]] inline miScalar pixelSize(miState* state) {
    const VelabaseState* const vela = velabaseState(state);
    return vela ? std::max(vela->footprint.screen.x, vela->footprint.screen.y) : 0.0f;
}

template <class P>
[[nodiscard]] Effort effortOf(miState* state, P* record) {
    return {parameterValue(state, record, &P::reflectionSamples),
            parameterValue(state, record, &P::highlightSamples),
            parameterValue(state, record, &P::reflectionLimit),
            0,
            parameterValue(state, record, &P::occlusionSamples),
            parameterValue(state, record, &P::occlusionDistance)};
}

} // namespace vela

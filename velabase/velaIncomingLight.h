// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What arrives at a hit from its lights.

#include "orcaLightLoop.h"
#include "orcaVelaState.h"

#include <shader.h>

/// Calls take(color) for each light of the hit with what arrives from it after shadows, weighted by the
/// cosine of its angle: what a white matte surface sends back of it.
template <class Take>
void eachIncomingLight(miState* state, const Take& take) {
    VelabaseState* const vela = velabaseState(state);
    for (mi::shader::LightIterator light(state); !light.at_end(); ++light) {
        for (;;) {
            if (vela) resetLightSample(*vela);
            if (!light->sample()) break;
            if (light->get_dot_nl() > 0.0f) light->accumulate({1.0f, 1.0f, 1.0f, 1.0f}, light->get_dot_nl());
        }
        miColor mean;
        light->get_mean(&mean);
        take(mean);
    }
}

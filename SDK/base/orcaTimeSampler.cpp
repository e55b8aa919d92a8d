// SPDX-License-Identifier: Apache-2.0
#include "orcaTimeSampler.h"

#include "orcaConstants.h"
#include "orcaGathering.h"

#include <algorithm>

namespace {

constexpr miInteger mostSamples = 100;
constexpr miScalar finestContrast = 0.01f;

miInteger samplesFor(miScalar contrast) {
    if (contrast >= 1.0f) return 1;
    if (contrast < finestContrast) return mostSamples;
    return static_cast<miInteger>(1.0f / contrast + VELA_EPS);
}

} // namespace

void tmsampler_init(tmsampler* sampler, miState* state, bool enabled) {
    *sampler = {0, 1, 0.0f};
    if (!enabled) return;
    if (isGathering(state)) return;

    const miScalar end = state->options->shutter;
    const miScalar begin = state->options->shutter_delay;
    int moving = 0;
    if (!(end > begin) || !mi_query(miQ_SAMPLE_MOVING, state, miNULLTAG, &moving) || moving != 0) return;
    const miColor& contrast = state->options->time_contrast;
    const miScalar least = std::min({contrast.r, contrast.g, contrast.b});
    if (!(least > 0.0f)) return;
    sampler->count = samplesFor(least);
    sampler->step = (end - begin) / static_cast<miScalar>(sampler->count);
}

void tmsampler_next(tmsampler* sampler, miState* state) {
    state->time += sampler->step;
    if (state->time > state->options->shutter)
        state->time -= state->options->shutter - state->options->shutter_delay;
    ++sampler->index;
}

bool tmsampler_isDone(const tmsampler* sampler) {
    return sampler->index >= sampler->count;
}

// SPDX-License-Identifier: Apache-2.0
#include "render/context/surroundings.h"

namespace orca::render {

miBoolean callEnvironment(RenderContext& context, miState* state, miColor& result) {
    const miTag environment =
        state->environment != miNULLTAG ? state->environment : context.frame.camera.environment;
    if (environment == miNULLTAG) return miFALSE;
    ++context.counts.environment;
    return context.runtime.call(&result, miSHADER_ENVIRONMENT, state, environment);
}

void callVolume(RenderContext& context, miState* state, miColor& result, miBoolean& delivered) {
    if (state->volume == miNULLTAG || context.frame.options.no_volume) return;
    delivered = context.runtime.call(&result, miSHADER_VOLUME, state, state->volume);
}

} // namespace orca::render

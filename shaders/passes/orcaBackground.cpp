// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaFrameBufferLookup.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"

#include <shader.h>

/// Parameters of orcaPassBackground, in declaration order.
struct BackgroundParameters {
    miInteger passIndex; // which of the data block's non-material frame buffers
    miInteger source;    // 0: the environment; else visible lamps
};

namespace {

using P = BackgroundParameters;

/// Writes what the sample has shown of the background, when it ends.
class BackgroundPass : public Shader<P, ShaderHelper<P>> {
public:
    BackgroundPass(miState* state, P* record)
        : frameBufferIndex_(static_cast<int>(
              getNonMaterialPassFrameBufferIndex(state, parameterValue(state, record, &P::passIndex)))),
          lamps_(parameterValue(state, record, &P::source) != 0) {}

    miBoolean write(miState* state) const {
        const VelabaseState* const vela = velabaseState(state);
        if (!vela || frameBufferIndex_ == 0 || !inImagePhase(state)) return miTRUE;
        miColor value = lamps_ ? vela->background.lamps : vela->background.environment;
        if (state->options->scanline ==
            miSCANLINE_RASTERIZER) { // which calls this for every layer of a sample
            miColor before{};
            mi_fb_get(state, frameBufferIndex_, &before);
            value += before;
        }
        mi_fb_put(state, frameBufferIndex_, &value);
        return miTRUE;
    }

private:
    int frameBufferIndex_; ///< 0 when the pass has none
    bool lamps_;
};

using Entry = ShaderEntry<BackgroundPass, P>;

} // namespace

extern "C" {

ORCA_EXPORT int orcaPassBackground_version(void) {
    return 1;
}

ORCA_EXPORT void orcaPassBackground_init(miState* state, P* record, miBoolean* instanceInitRequired) {
    if (!record) requireStateShader(state, "orcaPassBackground(): Not invoked as state shader.");
    Entry::init(state, record, instanceInitRequired, "orcaBackground", __LINE__);
}

ORCA_EXPORT void orcaPassBackground_exit(miState* state, P* record) {
    Entry::exit(state, record);
}

ORCA_EXPORT miBoolean orcaPassBackground(void*, miState* state, P*, miShader_state_arg* argument) {
    if (argument->op != miSHADERSTATE_SAMPLE_EXIT) return miTRUE;
    void** const slot = instanceUserPointer(state);
    return slot && *slot ? static_cast<const BackgroundPass*>(*slot)->write(state) : miFALSE;
}

} // extern "C"

#include "declared/orcaPassBackground.h"

// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaFrameBufferLookup.h"
#include "orcaParameters.h"
#include "orcaRenderPassUtilities.h"
#include "orcaShader.h"
#include "orcaUtilities.h"

#include <shader.h>

#include <cstdio>

/// Parameters of orcaPassDifference, in declaration order.
struct DifferenceParameters {
    miTag frameBuffer; // a string: the name of what is changed
    miTag subtracted;  // a string: the name of what is taken from it
};

namespace {

using P = DifferenceParameters;

/// Takes one frame buffer from another when a sample ends, after the passes have been written: what a pass
/// of the whole light holds beyond one of a part of it. Alpha stays.
class DifferencePass : public Shader<P, ShaderHelper<P>> {
public:
    DifferencePass(miState* state, P* record)
        : changed_(indexOf(state, record, &P::frameBuffer)),
          subtracted_(indexOf(state, record, &P::subtracted)),
          earlierKey_{} {
        std::snprintf(earlierKey_, sizeof earlierKey_, "orcaPassDifference:%d", changed_);
    }

    /// The rasterizer adds layer after layer to the buffers: those before this one have been subtracted.
    miBoolean noteEarlier(miState* state) const {
        if (!state->rast_compose || !subtracts(state)) return miTRUE;
        miColor earlier{};
        mi_fb_get(state, subtracted_, &earlier);
        return mi_shaderstate_set(state, earlierKey_, &earlier, sizeof earlier, VELA_STATE_LIFETIME);
    }

    miBoolean write(miState* state) const {
        if (!subtracts(state)) return miTRUE;
        miColor value{}, less{};
        mi_fb_get(state, changed_, &value);
        mi_fb_get(state, subtracted_, &less);
        if (state->rast_compose)
            if (const void* const earlier = mi_shaderstate_get(state, earlierKey_, nullptr))
                less = less - *static_cast<const miColor*>(earlier);
        value.r -= less.r;
        value.g -= less.g;
        value.b -= less.b;
        mi_fb_put(state, changed_, &value);
        return miTRUE;
    }

private:
    static int indexOf(miState* state, P* record, miTag P::*name) {
        return static_cast<int>(getNamedFrameBufferID(state, parameterValue(state, record, name)));
    }

    [[nodiscard]] bool subtracts(miState* state) const {
        return changed_ != 0 && subtracted_ != 0 && inImagePhase(state);
    }

    int changed_, subtracted_; ///< 0 when there is no such buffer
    char earlierKey_[32];      ///< of the thread's state: what was in the subtracted buffer before this layer
};

using Entry = ShaderEntry<DifferencePass, P>;

} // namespace

extern "C" {

ORCA_EXPORT int orcaPassDifference_version(void) {
    return 1;
}

ORCA_EXPORT void orcaPassDifference_init(miState* state, P* record, miBoolean* instanceInitRequired) {
    if (!record) requireStateShader(state, "orcaPassDifference(): Not invoked as state shader.");
    Entry::init(state, record, instanceInitRequired, "orcaDifference", __LINE__);
}

ORCA_EXPORT void orcaPassDifference_exit(miState* state, P* record) {
    Entry::exit(state, record);
}

ORCA_EXPORT miBoolean orcaPassDifference(void*, miState* state, P*, miShader_state_arg* argument) {
    if (argument->op != miSHADERSTATE_SAMPLE_INIT && argument->op != miSHADERSTATE_SAMPLE_EXIT) return miTRUE;
    void** const slot = instanceUserPointer(state);
    if (!slot || !*slot) return miFALSE;
    const auto& pass = *static_cast<const DifferencePass*>(*slot);
    return argument->op == miSHADERSTATE_SAMPLE_INIT ? pass.noteEarlier(state) : pass.write(state);
}

} // extern "C"

#include "declared/orcaPassDifference.h"

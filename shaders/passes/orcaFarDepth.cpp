// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferLookup.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaUtilities.h"

#include <shader.h>

/// Parameters of orcaPassFarDepth, in declaration order.
struct FarDepthParameters {
    miInteger passIndex; // which of the data block's non-material frame buffers
    miScalar value;      // for samples that hit nothing
};

namespace {

using P = FarDepthParameters;

/// Gives a depth that no surface has written, which is 0, another value when the sample ends.
class FarDepth : public Shader<P, ShaderHelper<P>> {
public:
    FarDepth(miState* state, P* record)
        : frameBufferIndex_(static_cast<int>(
              getNonMaterialPassFrameBufferIndex(state, parameterValue(state, record, &P::passIndex)))),
          value_(parameterValue(state, record, &P::value)) {}

    miBoolean write(miState* state) const {
        if (frameBufferIndex_ == 0 || !inImagePhase(state)) return miTRUE;
        miScalar depth = 0.0f;
        mi_fb_get(state, frameBufferIndex_, &depth);
        if (depth == 0.0f) mi_fb_put(state, frameBufferIndex_, &value_);
        return miTRUE;
    }

private:
    int frameBufferIndex_; ///< 0 when the pass has none
    miScalar value_;
};

using Entry = ShaderEntry<FarDepth, P>;

} // namespace

extern "C" {

ORCA_EXPORT int orcaPassFarDepth_version(void) {
    return 1;
}

ORCA_EXPORT void orcaPassFarDepth_init(miState* state, P* record, miBoolean* instanceInitRequired) {
    if (!record) requireStateShader(state, "orcaPassFarDepth(): Not invoked as state shader.");
    Entry::init(state, record, instanceInitRequired, "orcaFarDepth", __LINE__);
}

ORCA_EXPORT void orcaPassFarDepth_exit(miState* state, P* record) {
    Entry::exit(state, record);
}

ORCA_EXPORT miBoolean orcaPassFarDepth(void*, miState* state, P*, miShader_state_arg* argument) {
    if (argument->op != miSHADERSTATE_SAMPLE_EXIT) return miTRUE;
    void** const slot = instanceUserPointer(state);
    return slot && *slot ? static_cast<const FarDepth*>(*slot)->write(state) : miFALSE;
}

} // extern "C"

#include "declared/orcaPassFarDepth.h"

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Shaders that fill one non-material pass with a quantity of the eye ray's hit. They are members of a
/// material's shader list and never change the shading result. What they have in common is here; each pass
/// adds its computation.

#include "orcaConstants.h"
#include "orcaFrameBufferLookup.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaPassMask.h"
#include "orcaShader.h"

#include <shader.h>

/// Admits eye rays of image samples.
struct PassShaderEyeRayFilter {
    [[nodiscard]] static bool admits(miState* state) {
        return state->type == miRAY_EYE && inImagePhase(state);
    }
};

/// As above, and eye rays of the renderer's occlusion phase.
struct AOShaderEyeRayFilter {
    [[nodiscard]] static bool admits(miState* state) {
        int phase = 0;
        return state->type == miRAY_EYE && mi_query(miQ_SAMPLE_PHASE, state, miNULLTAG, &phase) &&
               (phase == VELA_IMAGE_PHASE || phase == VELA_OCCLUSION_PHASE);
    }
};

/// @tparam T            what the frame buffer holds: miColor, float or miVector
/// @tparam P            parameter record; begins with passIndex and contributionIndex
/// @tparam Computation  made once from (state, record), called as (state, record, value)
/// @tparam EyeRayFilter which calls count
template <class T, class P, class Computation, class EyeRayFilter, int = 1>
class PassShader : public Shader<P, ShaderHelper<P>, 1> {
public:
    PassShader(miState* state, P* record)
        : frameBufferIndex(
              getNonMaterialPassFrameBufferIndex(state, parameterValue(state, record, &P::passIndex))),
          contributionIndex(parameterValue(state, record, &P::contributionIndex)),
          computation(state, record) {}

    /// Always true; the result is not touched. Objects whose pass mask excludes the pass leave the buffer as
    /// it is.
    miBoolean operator()(void*, miState* state, P* record) const {
        if (!EyeRayFilter::admits(state)) return miTRUE;
        T value{};
        mi_fb_get(state, static_cast<int>(frameBufferIndex), &value);
        const PassMask mask(state->instance);
        if (!mask.admits(static_cast<unsigned>(contributionIndex))) return miTRUE;
        computation(state, record, value);
        mi_fb_put(state, static_cast<int>(frameBufferIndex), &value);
        return miTRUE;
    }

    unsigned frameBufferIndex;   ///< 0 when the pass has none; buffer 0 is written then
    miInteger contributionIndex; ///< bit of this pass in an object's pass mask
    Computation computation;
};

/// Linear map of `value` from range `in` onto range `out`, limited to `out` (out.min <= out.max).
///
/// Not std::clamp: when `in` is empty the ratio can be NaN, which these comparisons send to out.max, while
/// std::clamp would let it into the frame buffer and from there into a compositor's every blur.
[[nodiscard]] inline float remapClamped(float value, miRange in, miRange out) noexcept {
    const float mapped = (value - in.min) / (in.max - in.min) * (out.max - out.min) + out.min;
    if (out.min > mapped) return out.min;
    return mapped < out.max ? mapped : out.max;
}

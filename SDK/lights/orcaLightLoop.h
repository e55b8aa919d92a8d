// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A material's loop over the samples of one light.

#include "orcaLightProtocol.h"
#include "orcaLightSample.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

/// Before each light sample: the light's description as a foreign light leaves it.
inline void resetLightSample(VelabaseState& vela) noexcept {
    vela.lightData = defaultLightDataArray;
    vela.areaLight = nullptr;
    vela.lightDensity = 0.0f;
}

/// What the samples of each light of the list that a shader has asked for last are multiplied by, where the
/// renderer has chosen them among more; null: by 1.
[[nodiscard]] inline const miScalar* lightWeights(miState* state) {
    const miScalar* weights = nullptr;
    return mi_query(miQ_LIGHT_WEIGHTS, state, miNULLTAG, &weights) ? weights : nullptr;
}
/// For what is not a sum over lights: the light lists of the running shader are whole from now on.
inline void wantAllLights(miState* state) {
    miBoolean unused = miTRUE;
    mi_query(miQ_WHOLE_LIGHT_LISTS, state, miNULLTAG, &unused);
}

/// Opens the light loop of the passes and closes it however the scope ends. After an exception the
/// accumulated values are discarded.
class LightLoop {
public:
    /// @param weight that the renderer multiplies the light's samples by
    LightLoop(miState* state, VelabaseState& vela, const PassRecords& passes, miTag light, miBoolean backSide,
              bool skipShadows, miScalar weight = 1.0f);
    ~LightLoop();
    LightLoop(const LightLoop&) = delete;
    LightLoop& operator=(const LightLoop&) = delete;

    /// The next sample: colour, direction and cosine. False after the last.
    bool next(LightSample& sample);
    [[nodiscard]] int samples() const noexcept { return samples_; }
    /// Combines the accumulated values into the passes, by the material's write settings.
    void end(const miInteger& writeMode, const miUint& writeFlags, const miScalar& writeScale);

private:
    void weigh() const;

    miState* state_;
    VelabaseState& vela_;
    const PassRecords& passes_;
    miTag light_;
    miBoolean backSide_;
    bool skipShadows_;
    miScalar weight_;
    bool open_ = true;
    miInteger rendererCounter_ = 0;
    int samples_ = 0;
};

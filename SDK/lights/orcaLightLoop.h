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

/// Opens the light loop of the passes and closes it however the scope ends. After an exception the
/// accumulated values are discarded.
class LightLoop {
public:
    LightLoop(miState* state, VelabaseState& vela, const PassRecords& passes, miTag light, miBoolean backSide,
              bool skipShadows);
    ~LightLoop();
    LightLoop(const LightLoop&) = delete;
    LightLoop& operator=(const LightLoop&) = delete;

    /// The next sample: colour, direction and cosine. False after the last.
    bool next(LightSample& sample);
    [[nodiscard]] int samples() const noexcept { return samples_; }
    /// Combines the accumulated values into the passes, by the material's write settings.
    void end(const miInteger& writeMode, const miUint& writeFlags, const miScalar& writeScale);

private:
    miState* state_;
    VelabaseState& vela_;
    const PassRecords& passes_;
    miTag light_;
    miBoolean backSide_;
    bool skipShadows_;
    bool open_ = true;
    miInteger rendererCounter_ = 0;
    int samples_ = 0;
};

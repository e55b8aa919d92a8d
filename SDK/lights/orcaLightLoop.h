// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A material's loop over the samples of one light, and what the material makes of them.

#include "orcaAreaLight.h"
#include "orcaColor.h"
#include "orcaLambert.h"
#include "orcaLightSample.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

/// Light that a surface sends back, by component. Black at the start.
struct LightSums {
    miColor ambient = BLACK, ambientUnshadowed = BLACK;
    miColor diffuse = BLACK, diffuseUnshadowed = BLACK; ///< translucence included
    miColor translucence = BLACK;
    miColor specular = BLACK, specularUnshadowed = BLACK;
    miColor scattered = BLACK; ///< of materials whose scatter component looks at single light samples
    miScalar shadow = 0.0f;    ///< luminance of the light that shadows removed
    miScalar light = 0.0f;     ///< luminance of the unshadowed light

    LightSums& operator+=(const LightSums& other) noexcept;
    LightSums& operator*=(miScalar f) noexcept;

    /// A sample's translucent and reflected shares.
    void addDiffuse(const miColor& through, const miColor& reflected, const miColor& light,
                    const miColor& unshadowedLight) noexcept;
    /// How much of the sample's light shadows removed.
    void countShadow(const LightData& data, miScalar nDotL) noexcept;
    /// Luminance of the terms that a component mask selects, with the shadow and light sums.
    [[nodiscard]] miScalar selected(miUint componentMask) const noexcept;
};

/// Opens the light loop of the passes and closes it however the scope ends; what an exception interrupts is
/// dropped.
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
    /// Combines what the loop gathered into the passes, by the material's write settings.
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaParameters.h"
#include "orcaTracing.h"

/// Transparency, traced as refraction or left to the renderer.
template <class P>
class DefaultRefractionComponent {
public:
    DefaultRefractionComponent(miState* state, P* record)
        : on_(parameterValue(state, record, &P::refractionsOn) != 0) {}

    [[nodiscard]] bool on() const noexcept { return on_; }
    /// Refracted light, black when nothing is traced. `transparency` is the material's on entry and what the
    /// renderer still has to trace on return.
    /// @param traced false: the render mode traces no secondary rays
    [[nodiscard]] miColor operator()(miState* state, P* record, const TraceContext& context, bool traced,
                                     miColor& transparency) const {
        RefractionSettings settings{};
        if (on_ && traced) settings = settingsOf(state, record);
        return compute_refraction(&transparency, settings, on_ && traced, state, context);
    }

private:
    static RefractionSettings settingsOf(miState* state, P* record) {
        RefractionSettings settings;
        settings.refractiveIndex = parameterValue(state, record, &P::refractiveIndex);
        settings.absorbance = parameterValue(state, record, &P::lightAbsorbance);
        settings.limit = parameterValue(state, record, &P::refractionLimit);
        settings.blur = parameterValue(state, record, &P::refractionBlur);
        settings.blurSamples = parameterValue(state, record, &P::refractionBlurSamples);
        settings.chromaticAberration = parameterValue(state, record, &P::chromaticAberration);
        settings.thickness = parameterValue(state, record, &P::surfaceThickness);
        return settings;
    }

    bool on_;
};

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaParameters.h"
#include "orcaScatter.h"

/// Light below the surface. What the surface does not reflect diffusely enters it, so that the two shares
/// never exceed the incoming light.
template <class P>
class DefaultScatterComponent {
public:
    /// @param reflectance diffuse reflectance of the surface
    DefaultScatterComponent(miState* state, P* record, const miColor& reflectance)
        : albedo_(parameterValue(state, record, &P::scatterColor)) {
        if (!present()) return;
        albedo_ *= WHITE - reflectance;
        albedo_ = {std::max(0.0f, albedo_.r), std::max(0.0f, albedo_.g), std::max(0.0f, albedo_.b), 0.0f};
    }

    [[nodiscard]] bool present() const noexcept { return anyAbove(albedo_, 0.0f); }
    /// Share of the incoming light that exits after travelling below the surface; alpha 0.
    [[nodiscard]] const miColor& albedo() const noexcept { return albedo_; }

    /// Direct light that exits after travelling below the surface; null when the material has none.
    /// @param cache the instance's slot for subsurface data
    [[nodiscard]] const miColor* operator()(miState* state, P* record, bool skipShadows, void*& cache,
                                            miColor& light) const {
        if (!present()) return nullptr;
        ScatterSettings settings;
        settings.albedo = albedo_;
        settings.meanFreePath = parameterValue(state, record, &P::scatterRadius);
        settings.samples = parameterValue(state, record, &P::scatterSamples);
        settings.skipShadows = static_cast<miBoolean>(skipShadows);
        return compute_scatter(&light, &settings, state, &cache) ? &light : nullptr;
    }

private:
    miColor albedo_;
};

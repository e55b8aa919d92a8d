// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaClosure.h"

#include "orcaComponents.h"
#include "orcaSurfaceInputs.h"
#include "orcaTracing.h"

#include <shader.h>

namespace vela {

/// Sums over the lights of a hit, opacity not yet applied.
struct LightResult {
    miColor ambient{}, irradiance{}, diffuseUnshadowed{};
    miColor translucentIrradiance{};
    miColor specular{}, coat{}, sheen{}, highlightsUnshadowed{};

    void add(const LightResult& light, float weight) noexcept;
};

/// Lights whose samples rays can find as well.
struct SharedLights {
    static constexpr int mostDomes = 4; ///< of further ones rays find everything again
    struct Dome {
        miTag instance, shader;
    };
    CountedLamps lamps; ///< area lights with highlights
    Dome domes[mostDomes];
    int domeCount = 0;

    /// Density of the domes' samples in a direction, over solid angle.
    [[nodiscard]] float density(miState* state, VelabaseState& vela, const miVector& direction) const;
    /// Radiance of the domes along a direction, after shadows, times the shares of it that highlights have
    /// taken.
    /// @param ofLayer density of the layer's directions, over solid angle
    [[nodiscard]] miColor highlightsAlong(const ShadingCall& call, const miVector& direction,
                                          float ofLayer) const;

private:
    /// What the dome's shader answers to a look along a direction; sets vela.lightDensity.
    static miColor look(const Dome& dome, miState* state, VelabaseState& vela, const miVector& direction);
};

/// Direct light of all lights. Tells the listener of each sample.
/// @param shared receives the lights that rays will meet
/// @param raysFollow reflected rays will be traced
[[nodiscard]] LightResult gatherLights(const ShadingCall& call, const Closure& closure, const Effort& effort,
                                       ComponentListener* listener, bool raysFollow, SharedLights& shared);

/// Light of reflected and refracted rays, opacity applied.
struct TracedResult {
    miColor reflection{}, coatReflection{}, refraction{};
};
[[nodiscard]] TracedResult traceRays(const ShadingCall& call, const Closure& closure, const Effort& effort,
                                     const PassRecords& handedOver, const SharedLights& shared);

/// Shades a closure: lights, rays, light below the surface and from other surfaces.
/// @param irradianceColor,irradiance addresses of parameters of the running shader, as of compute_irradiance
/// @param caches the instance's slots for subsurface data, one for each layer of it
void shadeClosure(MaterialComponents& result, miState* state, VelabaseState& vela, const Closure& closure,
                  const Effort& effort, miColor* irradianceColor, miColor* irradiance, void** caches);

} // namespace vela

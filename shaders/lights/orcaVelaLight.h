// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the light shaders share: the back-side test of one-sided area lights, the guards of what a light
/// changes in its state, and the decision between the kinds of shadow.

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaGathering.h"
#include "orcaGuards.h"
#include "orcaLightProtocol.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <optional>

/// True on the back of a rectangle or disc light: for a light ray that would start there, or another ray that
/// arrives there. Other shapes have no back.
extern "C" ORCA_EXPORT bool light_backside_hit(miState* state);

/// What a light sets while its parameters are evaluated: the texture coordinate that a map on its colour is
/// looked up with, and the flag that keeps that map unfiltered. Restored at the end.
class LightTextureSpace {
public:
    LightTextureSpace(miState* state, VelabaseState& vela, const miVector& coordinate);
    ~LightTextureSpace();
    LightTextureSpace(const LightTextureSpace&) = delete;
    LightTextureSpace& operator=(const LightTextureSpace&) = delete;

private:
    VelabaseState& vela_;
    bool unfilteredBefore_;
    std::optional<Restored<miVector>> coordinate_;
};

/// Resets the light-colour slots in calls other than lighting: no fog, full transmission, no glow.
void clearLightColors(VelabaseState& vela);

/// Kinds of shadow that a light sample can have.
enum class ShadowKind { None, DepthMap, RayTraced };

/// Weight of the point being shaded, which decides how many shadow rays it takes.
[[nodiscard]] inline miScalar importance(const VelabaseState& vela) {
    return largestChannel(vela.throughput);
}

/// The kind of shadow by a light's parameters and the state.
template <class P>
[[nodiscard]] ShadowKind shadowKind(miState* state, P* record, const VelabaseState& vela) {
    if (importance(vela) <= vela.throughputCutoff || vela.lightData.skipShadows) return ShadowKind::None;
    if (state->parent && state->parent->type == miRAY_SHADOW) return ShadowKind::None;
    const miOptions& options = *state->options;
    if (options.use_shadow_maps && parameterValue(state, record, &P::useDepthMapShadows))
        return ShadowKind::DepthMap;
    if (options.trace && parameterValue(state, record, &P::useRayTraceShadows) &&
        parameterValue(state, record, &P::shadowRays) != 0 &&
        traceLevel(state) <
            std::min<int>(parameterValue(state, record, &P::rayDepthLimit), vela.maxTraceDepth))
        return ShadowKind::RayTraced;
    return ShadowKind::None;
}

/// Shadow rays for a point of the state's importance: `rays` above the upper bound, falling to one at the
/// cut-off.
[[nodiscard]] unsigned shadowRayCount(int rays, const VelabaseState& vela);

/// Multiplies a light's colour by the transmission of its shadow and stores the share removed. `light` is
/// false when the shadow ray was fully blocked.
void applyShadow(miColor& color, LightData& data, bool light, const miColor& transmission,
                 const miColor& shadowColor);

/// A light's shadow, by the kind that applies.
/// @param color          in: the light unshadowed; out: after shadows
/// @param intensity      scales the shadow colour of depth maps only; intended
/// @param sizeParameter  radius or angle; above 0 for soft shadows
/// @param soft           bool (miColor* transmission, const miColor& shadowColor, float size, unsigned rays)
template <class P, class Size, class SoftShadow>
void shadeLight(miColor& color, miState* state, P* record, VelabaseState& vela, const PassRecords& passes,
                miScalar intensity, Size sizeParameter, const SoftShadow& soft) {
    const ShadowKind kind = shadowKind(state, record, vela);
    miColor transmission = WHITE;
    if (kind == ShadowKind::DepthMap) {
        const miColor full = parameterValue(state, record, &P::shadowColor);
        const miColor shadowColor = withAlpha(full * intensity, full.a);
        const bool light =
            traceShadow(passes.count, passes.records, &transmission, &color, &shadowColor, true, state);
        applyShadow(color, vela.lightData, light, transmission, shadowColor);
    } else if (kind == ShadowKind::RayTraced) {
        const miColor shadowColor = parameterValue(state, record, &P::shadowColor);
        // A gather averages many rays: hard shadows suffice.
        const miScalar size = isGathering(state) ? 0.0f : parameterValue(state, record, sizeParameter);
        const unsigned rays =
            shadowRayCount(static_cast<int>(parameterValue(state, record, &P::shadowRays)), vela);
        const bool light = size > 0.0f ? soft(&transmission, shadowColor, size, rays)
                                       : traceShadow(passes.count, passes.records, &transmission, &color,
                                                     &shadowColor, false, state);
        applyShadow(color, vela.lightData, light, transmission, shadowColor);
    } else {
        setLightIrradiance(passes.count, passes.records, &color);
    }
    // Intended: only with ray-traced shadows does the renderer evaluate the volume.
    if (kind != ShadowKind::RayTraced) state->volume = miNULLTAG;
}

/// Fills the light data that materials read.
template <class P>
void describeLight(miState* state, P* record, LightData& data) {
    data.isAmbient = 0;
    data.emitDiffuse = parameterValue(state, record, &P::emitDiffuse);
    data.emitSpecular = parameterValue(state, record, &P::emitSpecular);
    data.reserved0 = 0;
    data.reserved1 = 0;
}

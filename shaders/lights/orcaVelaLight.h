// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the lights that are called once for each point share: the back-side test of one-sided area lights,
/// the guards of what a light changes in its state, and the decision between the kinds of shadow.

#include "orcaColor.h"
#include "orcaDiscShadow.h"
#include "orcaExport.h"
#include "orcaGathering.h"
#include "orcaGuards.h"
#include "orcaLightProtocol.h"
#include "orcaLightShader.h"
#include "orcaLightStrength.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <optional>
#include <string>

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

/// Position in light space as latitude and longitude, so that a texture surrounds the light.
[[nodiscard]] miVector sphericalCoordinate(const miVector& p);

/// Where the light statement puts the light, light space.
[[nodiscard]] miVector originInLight(miState* state);
/// Where a spot light points, or another light along -z: unit, light space.
[[nodiscard]] miVector axisInLight(miState* state);
/// Moves the light ray's beginning to a place, internal space. A place at the point itself keeps the
/// direction.
void shineFrom(miState* state, const miVector& place);
/// Turns the light ray of distant light; `direction` is unit length, internal space.
void shineAlong(miState* state, const miVector& direction);

/// Kinds of shadow that a light sample can have.
enum class ShadowKind { None, DepthMap, RayTraced };

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

/// A light's shadow, by the kind that applies.
/// @param color      in: the light unshadowed; out: after shadows
/// @param intensity  scales the shadow colour of depth maps only; intended
/// @param trace      bool (miColor* transmission, const miColor& shadowColor, unsigned rays): traces shadows
template <class P, class Trace>
void shadeLight(miColor& color, miState* state, P* record, VelabaseState& vela, const PassRecords& passes,
                miScalar intensity, const Trace& trace) {
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
        const unsigned rays =
            shadowRayCount(static_cast<int>(parameterValue(state, record, &P::shadowRays)), vela);
        applyShadow(color, vela.lightData, trace(&transmission, shadowColor, rays), transmission,
                    shadowColor);
    } else {
        setLightIrradiance(passes.count, passes.records, &color);
    }
    // Intended: only with ray-traced shadows does the renderer evaluate the volume.
    if (kind != ShadowKind::RayTraced) state->volume = miNULLTAG;
}

/// Ends a call that lights a point: shadows, and what materials read of the light.
/// @param result in: the light unshadowed; out: after shadows
/// @param trace  as in shadeLight
template <class P, class Trace>
miBoolean deliverLight(miColor& result, miState* state, P* record, VelabaseState& vela,
                       const PassRecords& passes, miScalar intensity, const Trace& trace) {
    vela.lightData.shadowFraction = 0.0f;
    vela.lightData.unshadowedColor = result;
    shadeLight(result, state, record, vela, passes, intensity, trace);
    describeLight(state, record, vela.lightData);
    return miTRUE;
}

/// Traces a shadow that is soft when `size`, a radius or angle, is above 0.
/// @param soft bool (float size)
template <class Soft>
bool traceSizedShadow(miColor* transmission, const miColor& light, const miColor& shadowColor, miScalar size,
                      miState* state, const PassRecords& passes, const Soft& soft) {
    // A gather averages many rays: hard shadows suffice.
    if (size > 0.0f && !isGathering(state)) return soft(size);
    return traceShadow(passes.count, passes.records, transmission, &light, &shadowColor, false, state);
}

/// Delivers light from a place, with the shadows of a disc of the radius `lightRadius`.
template <class P>
miBoolean deliverFromDisc(miColor& result, miState* state, P* record, VelabaseState& vela,
                          const PassRecords& passes, miScalar intensity) {
    const miColor light = result;
    const auto trace = [&](miColor* transmission, const miColor& shadowColor, unsigned rays) {
        const miScalar radius = parameterValue(state, record, &P::lightRadius);
        return traceSizedShadow(transmission, light, shadowColor, radius, state, passes, [&](float size) {
            return sample_disc_shadow(transmission, &light, &shadowColor, size, rays, state, passes.count,
                                      passes.records);
        });
    };
    return deliverLight(result, state, record, vela, passes, intensity, trace);
}

/// Distant light along the ray, with the shadows of a disc of the angle `lightAngle`. False, after a
/// message, for units that it has not.
/// @param name of the shader in messages
template <class P>
miBoolean deliverFromAfar(miColor& result, miState* state, P* record, VelabaseState& vela,
                          const PassRecords& passes, const char* name) {
    const auto intensity = distantStrength(state, record, name);
    if (!intensity) return miFALSE;
    const miColor color = lampColor(state, record);
    const miColor light = withAlpha(color * *intensity, color.a);
    result = light;
    const auto trace = [&](miColor* transmission, const miColor& shadowColor, unsigned rays) {
        const miScalar angle = parameterValue(state, record, &P::lightAngle);
        return traceSizedShadow(transmission, light, shadowColor, angle, state, passes, [&](float size) {
            return distantDiscShadow(transmission, light, shadowColor, size, rays, state, passes.count,
                                     passes.records);
        });
    };
    return deliverLight(result, state, record, vela, passes, *intensity, trace);
}

// SPDX-License-Identifier: Apache-2.0
#include "velaShading.h"

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaIrradiance.h"
#include "orcaVector.h"

#include <algorithm>

namespace vela {

namespace {

/// Light before a colour, alpha 0; black where the colour is.
miColor rawOf(const miColor& light, const miColor& color) {
    const auto channel = [](float a, float b) { return b > 0.0f ? a / b : 0.0f; };
    return {channel(light.r, color.r), channel(light.g, color.g), channel(light.b, color.b), 0.0f};
}

miColor scaled(const miColor& a, const miColor& b) {
    return withAlpha(a * b, 0.0f);
}

/// What layers reflect of even light to the viewer.
miColor layerColor(const Closure& closure, bool coats) {
    miColor sum = BLACK;
    for (int i = 0; i < closure.layerCount; ++i) {
        const FacetLayer& layer = *closure.layers[static_cast<std::size_t>(i)];
        if (layer.isCoat == coats) sum += layer.weight * layer.lobe.albedo();
    }
    return withAlpha(sum, 0.0f);
}

miColor openness(miState* state, const Effort& effort) {
    if (effort.occlusionRays < 1) return WHITE;
    const Restored<miVector> direction(state->dir);
    const Restored<miVector> normal(state->normal);
    miAo_options request{sizeof(miAo_options),
                         effort.occlusionRays,
                         state->normal,
                         -2.0f,
                         1.0f,
                         -1.0f,
                         effort.occlusionDistance > 0.0f ? effort.occlusionDistance : -1.0f,
                         -1};
    miScalar occlusion = 0.0f;
    mi_ambient_occlusion(&occlusion, state, &request);
    return withAlpha(WHITE * std::clamp(1.0f - occlusion, 0.0f, 1.0f), 0.0f);
}

void addLights(MaterialComponents& result, const Closure& closure, const LightResult& light) {
    const miColor& opacity = closure.opacity;
    const miColor reflectance = closure.diffuseColor * closure.diffuseLevel * opacity;
    result.ambientRaw = withAlpha((closure.ambientLight * result.occlusion) + light.ambient, 0.0f);
    result.ambient = scaled(result.ambientRaw, reflectance);
    result.diffuseRaw = withAlpha(light.irradiance, 0.0f);
    result.diffuse = scaled(light.irradiance, reflectance);
    result.translucenceRaw = withAlpha(light.translucentIrradiance, 0.0f);
    result.translucence = scaled(light.translucentIrradiance, result.translucenceColor);
    result.diffuseUnshadowed = scaled(light.diffuseUnshadowed, opacity);
    result.specular = scaled(light.specular, opacity);
    result.specularRaw = rawOf(result.specular, result.specularColor);
    result.coat = scaled(light.coat, opacity);
    result.coatRaw = rawOf(result.coat, result.coatColor);
    result.sheen = scaled(light.sheen, opacity);
    result.sheenRaw = rawOf(result.sheen, result.sheenColor);
    result.specularUnshadowed = scaled(light.highlightsUnshadowed, opacity);
}

void describe(MaterialComponents& result, miState* state, const Closure& closure, const Effort& effort) {
    result.opacity = closure.opacity;
    result.diffuseColor = withAlpha(closure.diffuseColor, 0.0f);
    result.diffuseLevel = withAlpha(closure.diffuseLevel * closure.opacity, 0.0f);
    result.translucenceColor = scaled(closure.translucence, closure.opacity);
    result.specularColor = scaled(layerColor(closure, false), closure.opacity);
    result.coatColor = scaled(layerColor(closure, true), closure.opacity);
    result.sheenColor =
        scaled(closure.sheen * sheenAlbedo(closure.sheenRoughness, closure.view.z), closure.opacity);
    result.occlusion = openness(state, effort);
    result.normal = state->normal;
}

void addRays(MaterialComponents& result, const Closure& closure, const TracedResult& traced) {
    miColor reflected = BLACK, refracted = BLACK;
    for (int i = 0; i < closure.layerCount; ++i) {
        const FacetLayer& layer = *closure.layers[static_cast<std::size_t>(i)];
        if (!layer.isCoat && layer.tracesRays) reflected += layer.weight * layer.lobe.albedo();
    }
    if (closure.glass) {
        const GlassLayer& glass = *closure.glass;
        const miColor once = glass.glass.reflected(closure.view.z, glass.glass.eta);
        reflected += once * glass.weight;
        refracted = (WHITE - once) * glass.weight * glass.tint;
    }
    result.reflection = traced.reflection;
    result.reflectionColor = scaled(reflected, closure.opacity);
    result.reflectionRaw = rawOf(traced.reflection, result.reflectionColor);
    result.coatReflection = traced.coatReflection;
    result.coatReflectionRaw = rawOf(traced.coatReflection, result.coatColor);
    result.refraction = traced.refraction;
    result.refractionColor = scaled(refracted, closure.opacity);
    result.refractionRaw = rawOf(traced.refraction, result.refractionColor);
}

void addScatter(MaterialComponents& result, const ShadingCall& call, const Closure& closure, void** caches) {
    for (int i = 0; i < closure.scatterCount; ++i) {
        auto [weight, settings] = closure.scatter[static_cast<std::size_t>(i)];
        const miColor leaving = scaled(weight * settings.albedo, closure.opacity);
        result.scatterColor += leaving;
        if (!call.wants(COMPOSITE_SCATTER) || !anyAbove(leaving, 0.0f)) continue;
        settings.skipShadows = static_cast<miBoolean>(call.skipsShadows());
        miColor scattered = BLACK;
        compute_scatter(&scattered, &settings, call.state, &caches[i]);
        result.scatter += scaled(weight * scattered, closure.opacity);
    }
    result.scatterRaw = rawOf(result.scatter, result.scatterColor);
}

} // namespace

void shadeClosure(MaterialComponents& result, miState* state, VelabaseState& vela, const Closure& closure,
                  const Effort& effort, miColor* irradianceColor, miColor* irradiance, void** caches) {
    ShadingCall call(state, vela);
    bc_construct(&call.composite, vela.renderMode, state);
    ComponentListener* const listener = listenerOf(state, vela);
    const PassRecords none;
    // Without a listener nobody hands this hit's pass values on, nor those of what its rays meet.
    const PassRecords& handedOver = listener ? *listener->passes : none;
    const miUint shadedBefore = vela.surfacesShaded;

    result = {};
    describe(result, state, closure, effort);
    const bool traces = call.wants(COMPOSITE_TRACE_LIMIT);
    SharedLights shared;
    const LightResult light = gatherLights(call, closure, effort, listener, traces, shared);
    addLights(result, closure, light);
    if (listener)
        listener->unlit = scaled(closure.ambientLight * result.occlusion,
                                 closure.diffuseColor * closure.diffuseLevel * closure.opacity);
    if (traces) addRays(result, closure, traceRays(call, closure, effort, handedOver, shared));

    addScatter(result, call, closure, caches);
    if (call.wants(COMPOSITE_INDIRECT)) {
        const miColor reflectance =
            result.diffuseColor * result.diffuseLevel + result.scatterColor + result.sheenColor;
        const miColor transparency = WHITE - closure.opacity;
        compute_irradiance(&result.indirect, irradianceColor, &reflectance, &transparency, irradiance, state,
                           1.0f, 1.0f);
        result.indirectRaw = rawOf(result.indirect, reflectance);
    }
    if (call.wants(COMPOSITE_INCANDESCENCE)) result.emission = scaled(closure.emission, closure.opacity);
    result.color =
        withAlpha(result.ambient + result.diffuse + result.translucence + result.indirect + result.scatter +
                      result.specular + result.coat + result.sheen + result.reflection +
                      result.coatReflection + result.refraction + result.emission,
                  1.0f);
    if (!listener) vela.surfacesShaded = shadedBefore;
}

} // namespace vela

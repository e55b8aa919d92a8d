// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The shading algorithm of every standard material: its inputs, the light loop, refraction, reflection and
/// indirect light, the composition of the result, and the pass values of each component.
///
/// With w the opacity of the hit, the picture is
///     w (ambient + diffuse + indirect) + incandescence + specular + reflection + refraction
/// where diffuse includes translucence and indirect includes scattered light. With additivePasses the beauty
/// pass receives exactly these terms, w included. The component passes receive them without w, so that a
/// compositor's sum of layers is the beauty when the ambient, diffuse and indirect records are weighted by
/// opacity and the other ones are not. Reflection (19) and refraction (21) receive the traced colours whole,
/// so the component records' level bounds are those of the level that the compositor adds up, usually 0.
/// Without additivePasses the beauty passes receive the material's own ambient term without w, and nothing of
/// a wholly transparent surface but its highlights and what its rays hand up; and the diffuse passes leave
/// out what comes through from behind.

#include "orcaComposite.h"
#include "orcaGuards.h"
#include "orcaMaterial.h"
#include "orcaNormalSpace.h"
#include "orcaPassRecords.h"
#include "orcaScatter.h"
#include "orcaSurfaceBump.h"
#include "orcaSurfaceInputs.h"
#include "orcaSurfaceLightLoop.h"
#include "orcaSurfacePasses.h"
#include "orcaSurfaceShaderReturnType.h"
#include "orcaTracing.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"

#include <type_traits>

/// A material. The components are const objects, made from (state, record) in each shading call, or from
/// (state, record, material colour) where they need more than the record: the material colour is constructed
/// first, and may bend the state's normal.
template <class P, class Result, class Helper, class AmbientMaterialColor, class Ambient,
          class DiffuseMaterialColor, class Diffuse, class Specular, class Reflection, class Refraction,
          class Scatter, class Indirect, class Incandescence, class Custom, int = 1>
class Surface : public Material<P, Helper, 1> {
public:
    using Material<P, Helper, 1>::Material;
    ~Surface() override { destroy_scatter(this->state_, &scatterCache); }

    /// False, with a warning and the result untouched, when the render state lacks its base record.
    miBoolean operator()(Result* result, miState* state, P* record) const {
        const Restored<miVector> normal(state->normal);
        const Restored<miScalar> cosine(state->dot_nd);
        VelabaseState* const vela = velabaseState(state);
        if (!vela) {
            orcaWarning("OrcaShaderSDK(): Internal state error.");
            return miFALSE;
        }
        ShadingCall call(state, *vela);
        if constexpr (requires { record->bumpNormal; })
            if (isConnected(state, record, &P::bumpNormal))
                bendNormal(state, parameterValue(state, record, &P::bumpNormal));
        if (state->type == miRAY_SHADOW) {
            result->transparency = Helper::shadowTransmission(state, record);
            return miTRUE;
        }
        bc_construct(&call.composite, vela->renderMode, state);
        *result = {};
        shade(*result, call, record);
        return miTRUE;
    }

private:
    using Inputs = SurfaceInputs<P, AmbientMaterialColor, Ambient, DiffuseMaterialColor>;
    using Writer = SurfacePassWriter<Material<P, Helper, 1>>;
    using Lights = SurfaceLightLoop<Inputs, Writer, Diffuse, Specular, Scatter>;

    void shade(Result& result, ShadingCall& call, P* record) const {
        miState* const state = call.state;
        const Inputs in(state, record);
        const Writer writer(*this, call, in.writePasses);
        const auto diffuse = component<Diffuse>(state, record, in.reflectance);
        const auto specular = component<Specular>(state, record, in.reflectance);
        const auto refraction = component<Refraction>(state, record, in.reflectance);
        const auto reflection = component<Reflection>(state, record, in.reflectance);
        const auto scatter = component<Scatter>(state, record, in.reflectance);

        writeMaterialColours(writer, in, specular);
        writeNormals(writer);
        LightSums light = gatherLight(writer, in, {diffuse, specular, scatter});
        if constexpr (requires { diffuse.ownLight(); })
            if (const auto own = diffuse.ownLight()) addOwnLight(writer, in, *own, light);

        const bool traces = call.wants(COMPOSITE_TRACE_LIMIT);
        const TraceContext context{&call.vela, &call.passes, in.mirror};
        result.transparency = in.transparency;
        const miColor refracted = refraction(state, record, context, traces, result.transparency);
        const miColor reflected = traces ? reflection(state, context) : BLACK;

        CompositeInputs parts = lightParts(call, in, light);
        miColor scattered = light.scattered;
        if (call.wants(COMPOSITE_SCATTER))
            parts.scatter = scatter(state, record, call.skipsShadows(), scatterCache, scattered);
        if (call.wants(COMPOSITE_INDIRECT))
            parts.indirect = indirectLight(state, record, in, parts.scatter ? scatter.albedo() : BLACK);
        if (call.wants(COMPOSITE_INCANDESCENCE))
            parts.incandescence = component<Incandescence>(state, record, in.reflectance)(state, record);
        parts.refraction = &refracted;
        parts.reflection = reflected;
        bc_composite(&call.composite, &result, &parts);
        bc_destruct(&call.composite);
        component<Custom>(state, record, in.reflectance)(state, record, result);

        writeCompositePasses(writer, in, reflection, result);
        call.vela.surfaceOpacity = WHITE - in.transparency;
        call.vela.refractionsOn = refraction.on();
        call.vela.refractedTransparency = refraction.on() && traces ? in.transparency : BLACK;
    }

    template <class Component>
    static Component component(miState* state, P* record, const DiffuseMaterialColor& reflectance) {
        if constexpr (std::is_constructible_v<Component, miState*, P*, const DiffuseMaterialColor&>)
            return Component(state, record, reflectance);
        else if constexpr (std::is_constructible_v<Component, miState*, P*, miColor>)
            return Component(state, record, reflectance());
        else return Component(state, record);
    }

    static void writeMaterialColours(const Writer& writer, const Inputs& in, const Specular& specular) {
        if (!writer.writesComponents()) return;
        writer.write(PASS_AMBIENT_MATERIAL_COLOR, in.ambientColor);
        writer.write(PASS_DIFFUSE_MATERIAL_COLOR, in.reflectance());
        writer.write(PASS_SPECULAR_MATERIAL_COLOR, specular.materialColor());
        writer.write(PASS_TRANSPARENCY, in.transparency);
    }

    /// The shading normal, each record in its own space.
    void writeNormals(const Writer& writer) const {
        if (!writer.writes()) return;
        const ShadingCall& call = writer.call;
        const PassTypeRun& run = (*call.passes.types)[PASS_NORMAL];
        for (int i = run.first; i < run.first + run.count; ++i)
            writeNormal(call.state, call.passes.records[i]);
    }

    void writeNormal(miState* state, FrameBufferInfo& record) const {
        TraceLevelSlot& slot = record.levelSlots[traceLevel(state)];
        if (closedToWrites(state, slot)) return;
        miVector n = normalInSpace(state, record.userWord4);
        if (this->passWriteFlags & WRITE_SCALED) n = n * this->passWriteScale;
        combine(slot.levelResult.r, n.x, this->passWriteMode);
        combine(slot.levelResult.g, n.y, this->passWriteMode);
        combine(slot.levelResult.b, n.z, this->passWriteMode);
    }

    /// Light of all lights, sampled with the throughput behind the surface.
    static LightSums gatherLight(const Writer& writer, const Inputs& in,
                                 const typename Lights::Components& components) {
        const ShadingCall& call = writer.call;
        const Restored<miColor> throughput(call.vela.throughput);
        if (!call.wants(COMPOSITE_THROUGHPUT)) in.attenuate(call.vela.throughput);
        return Lights(writer, in, components)();
    }

    /// Diffuse light that is no sum over the lights: each record receives it with or without shadows, as it
    /// would receive a light, whatever the lights that feed it.
    template <class OwnLight>
    static void addOwnLight(const Writer& writer, const Inputs& in, const OwnLight& own, LightSums& light) {
        light.diffuse += own.shadowed;
        light.diffuseUnshadowed += own.unshadowed;
        if (!writer.writesComponents()) return;
        const miColor opacity = WHITE - in.transparency;
        for (const PassTypeID type : {PASS_DIFFUSE, PASS_DIFFUSE_NO_SHADOW})
            writer.writeByShadow(type, own.shadowed, own.unshadowed);
        for (const PassTypeID type : {PASS_SHADOW, PASS_BEAUTY, PASS_BEAUTY_NO_REFLECTION_REFRACTION})
            writer.writeByShadow(type, opacity * own.shadowed, opacity * own.unshadowed);
    }

    /// Indirect light, reflected diffusely and from below the surface. It varies slowly, so the irradiance at
    /// the point is used for the surface around it as well.
    static miColor indirectLight(miState* state, P* record, const Inputs& in, const miColor& scattered) {
        const Indirect indirect(state, record);
        if (!anyAbove(scattered, 0.0f))
            return indirect(state, record, in.reflectance.color(), in.transparency, in.reflectance.diffuse(),
                            in.throughputBoost);
        return indirect(state, record, in.reflectance() + scattered, in.transparency, 1.0f,
                        in.throughputBoost);
    }

    static CompositeInputs lightParts(const ShadingCall& call, const Inputs& in, const LightSums& light) {
        CompositeInputs parts{};
        const bool unshadowed = !call.wants(COMPOSITE_DIFFUSE) && call.wants(COMPOSITE_DIFFUSE_UNSHADOWED);
        parts.ambient = in.ambientTerm(call) + (unshadowed ? light.ambientUnshadowed : light.ambient);
        parts.diffuse = light.diffuse;
        parts.diffuseUnshadowed = light.diffuseUnshadowed;
        parts.translucence = light.translucence;
        parts.specular = light.specular;
        parts.specularUnshadowed = light.specularUnshadowed;
        parts.transparency = in.transparency;
        parts.glow = in.glow;
        parts.specularGlow = in.glow;
        parts.shadowMatte = light.light > 0.0f ? light.shadow / light.light : 0.0f;
        parts.matteRule = Helper::matteRule;
        parts.matteOpacity = Helper::matteOpacity;
        return parts;
    }

    /// The components as they entered the picture. Reflected material colour (20) is the reflectivity at the
    /// facing ratio; indirect (22) is irradiance and scattered light together.
    static void writeCompositePasses(const Writer& writer, const Inputs& in, const Reflection& reflection,
                                     const Result& result) {
        if (!writer.writesComponents()) return;
        const miScalar facing = facingRatio(writer.call.state);
        const miColor indirect = result.irradiance + result.scatter;
        const miColor ambient = in.ambientTerm(writer.call);
        writer.write(PASS_REFLECTED_MATERIAL_COLOR, reflection.materialColor(facing));
        writer.write(PASS_REFLECTION, result.reflection);
        writer.write(PASS_REFRACTION, result.refraction);
        writer.write(PASS_INCANDESCENCE, result.incandescence);
        writer.write(PASS_INDIRECT, indirect);
        writer.write(PASS_GLOW_SOURCE, result.glowColor);
        writer.write(PASS_FACING_RATIO, facing);
        writer.write(PASS_AMBIENT, ambient);

        const miColor opacity = WHITE - in.transparency;
        const miColor beauty = writer.call.additive ? opacity * (indirect + ambient) + result.incandescence
                                                    : opacity * indirect + result.incandescence + ambient;
        const bool glowsOnly = writer.call.additive && anyAbove(beauty, 0.0f);
        if (!anyAbove(opacity, 0.0f) && !glowsOnly) return; // wholly transparent
        writer.write(PASS_BEAUTY, beauty);
        writer.write(PASS_BEAUTY_NO_REFLECTION_REFRACTION, beauty);
    }

    mutable void* scatterCache = nullptr; ///< subsurface data of the instance, made by compute_scatter
};

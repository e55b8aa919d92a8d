// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The shading algorithm of every standard material: its inputs, the light loop, refraction, reflection and
/// indirect light, the composition of the result, and the pass values of each component.
///
/// What the passes add up to: with w the opacity of the hit, the picture is
///     w (ambient + diffuse + indirect) + incandescence + specular + reflection + refraction
/// where diffuse includes translucence and indirect includes scattered light. The beauty pass receives
/// exactly these terms, w included. The component passes receive them without w, so that a compositor's sum
/// of layers is the beauty when the ambient, diffuse and indirect records are weighted by opacity and the
/// other ones are not. Reflection (19) and refraction (21) receive the traced colours whole, so the component
/// records' level bounds are those of the level that the compositor adds up, usually 0.

#include "orcaAreaLight.h"
#include "orcaComposite.h"
#include "orcaGuards.h"
#include "orcaLambertTranslucence.h"
#include "orcaLightLoop.h"
#include "orcaLightSums.h"
#include "orcaMaterial.h"
#include "orcaNormalSpace.h"
#include "orcaPassRecords.h"
#include "orcaScatter.h"
#include "orcaSurfaceBump.h"
#include "orcaSurfacePasses.h"
#include "orcaSurfaceShaderReturnType.h"
#include "orcaTracing.h"
#include "orcaUtilities.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <type_traits>

/// A material. The components are const objects, made from (state, record) in each shading call, or from
/// (state, record, material colour) where they take more of the point than the record says: the material
/// colour comes first, and may bend the state's normal.
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
        const PassRecords passes(state, *vela);
        if (isConnected(state, record, &P::bumpNormal))
            bendNormal(state, parameterValue(state, record, &P::bumpNormal));
        if (state->type == miRAY_SHADOW) {
            result->transparency = Helper::shadowTransmission(state, record);
            return miTRUE;
        }

        bc composite{};
        bc_construct(&composite, vela->renderMode, state);
        *result = {};
        const Inputs in(state, record);
        const Writer writer{*this, state, passes, in.writePasses};
        const auto specular = component<Specular>(state, record, in.reflectance);
        const auto refraction = component<Refraction>(state, record, in.reflectance);
        const auto reflection = component<Reflection>(state, record, in.reflectance);
        const auto scatter = component<Scatter>(state, record, in.reflectance);

        writeMaterialColours(writer, in, specular);
        writeNormals(writer);
        LightSums light;
        {
            const Restored<miColor> throughput(vela->throughput);
            if (!(composite.componentMask & COMPOSITE_THROUGHPUT)) in.attenuate(vela->throughput);
            light = gatherLight(state, *vela, passes, composite, writer, in, specular, scatter, record);
        }

        const TraceContext context{vela, &passes, in.mirror};
        const bool traced = (composite.componentMask & COMPOSITE_TRACE_LIMIT) != 0;
        result->transparency = in.transparency;
        const miColor refracted = refraction(state, record, context, traced, result->transparency);
        const miColor reflected = traced ? reflection(state, context) : BLACK;

        CompositeInputs parts = lightParts(composite, in, light);
        miColor scattered = light.scattered;
        if (composite.componentMask & COMPOSITE_SCATTER)
            parts.scatter = scatter(state, record, composite.b == 0, scatterCache, scattered);
        if (composite.componentMask & COMPOSITE_INDIRECT)
            parts.indirect = indirectLight(state, record, in, parts.scatter ? scatter.albedo() : BLACK);
        if (composite.componentMask & COMPOSITE_INCANDESCENCE)
            parts.incandescence = Incandescence(state, record)(state, record);
        parts.refraction = &refracted;
        parts.reflection = reflected;
        bc_composite(&composite, result, &parts);
        bc_destruct(&composite);
        component<Custom>(state, record, in.reflectance)(state, record, *result);

        writeCompositePasses(writer, in, reflection, *result, in.ambientTerm(composite));
        vela->surfaceOpacity = WHITE - in.transparency;
        vela->refractionsOn = refraction.on();
        vela->refractedTransparency = refraction.on() && traced ? in.transparency : BLACK;
        return miTRUE;
    }

private:
    using Writer = SurfacePassWriter<Material<P, Helper, 1>>;

    template <class Component>
    static Component component(miState* state, P* record, const DiffuseMaterialColor& reflectance) {
        if constexpr (std::is_constructible_v<Component, miState*, P*, const DiffuseMaterialColor&>)
            return Component(state, record, reflectance);
        else if constexpr (std::is_constructible_v<Component, miState*, P*, miColor>)
            return Component(state, record, reflectance());
        else return Component(state, record);
    }

    /// The material's transmittance, which its colour may know better than the record.
    static miColor transparencyOf(miState* state, P* record, const DiffuseMaterialColor& reflectance) {
        if constexpr (requires { reflectance.transparency(); }) return reflectance.transparency();
        else return parameterValue(state, record, &P::transparency);
    }

    /// The parameters that several steps share.
    struct Inputs {
        Inputs(miState* state, P* record)
            : ambientColor(AmbientMaterialColor(state, record)()),
              reflectance(state, record),
              transparency(transparencyOf(state, record, reflectance)),
              translucence(parameterValue(state, record, &P::translucence)),
              writePasses(parameterValue(state, record, &P::writePasses) != 0),
              throughputBoost(parameterValue(state, record, &P::throughputBoost)),
              glow(parameterValue(state, record, &P::compositeScalarA)),
              mirror(mirrored(state->dir, state->normal)),
              ambient(state, record) {
            if (translucence == 0.0f) return;
            translucenceForward = parameterValue(state, record, &P::translucenceForward);
            translucenceWrap = parameterValue(state, record, &P::translucenceWrap);
        }

        /// What the surface leaves of a path's throughput.
        void attenuate(miColor& throughput) const {
            throughput *= (WHITE - transparency) * reflectance.color();
            if (throughputBoost > 1.0f) throughput *= throughputBoost;
        }
        [[nodiscard]] miColor ambientTerm(const bc& composite) const {
            return composite.componentMask & COMPOSITE_AMBIENT ? ambient(ambientColor, reflectance.color())
                                                               : BLACK;
        }

        miColor ambientColor;
        DiffuseMaterialColor reflectance;
        miColor transparency;
        miScalar translucence, translucenceForward = 0.0f, translucenceWrap = 0.0f;
        bool writePasses;
        miScalar throughputBoost;
        miScalar glow;
        miVector mirror;
        Ambient ambient;
    };

    static void writeMaterialColours(const Writer& writer, const Inputs& in, const Specular& specular) {
        if (!writer.writesComponents()) return;
        writer.write(PASS_AMBIENT_MATERIAL_COLOR, in.ambientColor);
        writer.write(PASS_DIFFUSE_MATERIAL_COLOR, in.reflectance());
        writer.write(PASS_SPECULAR_MATERIAL_COLOR, specular.materialColor());
        writer.write(PASS_TRANSPARENCY, in.transparency);
    }

    /// The shading normal, each record in the space it asks for.
    void writeNormals(const Writer& writer) const {
        if (!writer.writes()) return;
        const PassTypeRun& run = (*writer.passes.types)[PASS_NORMAL];
        for (int i = run.first; i < run.first + run.count; ++i)
            writeNormal(writer.state, writer.passes.records[i]);
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

    /// Every light of the hit, and its light from behind when the surface was met from its back.
    LightSums gatherLight(miState* state, VelabaseState& vela, const PassRecords& passes, const bc& composite,
                          const Writer& writer, const Inputs& in, const Specular& specular,
                          const Scatter& scatter, P* record) const {
        int count = 0;
        miTag* lights = nullptr;
        LightSums all;
        if (!mi_instance_lightlist(&count, &lights, state)) return all;
        const Diffuse diffuse(state, record);
        for (int i = 0; i < count; ++i) {
            all += lightFrom(lights[i], miFALSE, state, vela, passes, composite, writer, in, specular,
                             scatter, diffuse);
            if (!state->inv_normal) continue;
            const Restored<miVector> normal(state->normal);
            const Restored<miVector> geometric(state->normal_geom);
            state->normal = -state->normal;
            state->normal_geom = -state->normal_geom;
            all += lightFrom(lights[i], miTRUE, state, vela, passes, composite, writer, in, specular, scatter,
                             diffuse);
        }
        return all;
    }

    /// One light seen from one side; the mean over its samples.
    LightSums lightFrom(miTag light, miBoolean backSide, miState* state, VelabaseState& vela,
                        const PassRecords& passes, const bc& composite, const Writer& writer,
                        const Inputs& in, const Specular& specular, const Scatter& scatter,
                        const Diffuse& diffuse) const {
        LightSums sums;
        LightLoop loop(state, vela, passes, light, backSide, composite.b == 0);
        LightSample sample;
        sample.mirror = in.mirror;
        while (loop.next(sample))
            shadeSample(sums, sample, state, vela, composite, writer, in, specular, scatter, diffuse);
        loop.end(this->passWriteMode, this->passWriteFlags, this->passWriteScale);
        if (loop.samples() > 1) sums *= 1.0f / static_cast<float>(loop.samples());
        writer.write(PASS_LIGHT_SUM, sums.selected(composite.componentMask));
        vela.shadowSum = sums.shadow;
        return sums;
    }

    static void shadeSample(LightSums& sums, LightSample& sample, miState* state, VelabaseState& vela,
                            const bc& composite, const Writer& writer, const Inputs& in,
                            const Specular& specular, const Scatter& scatter, const Diffuse& diffuse) {
        const LightData& data = vela.lightData;
        const miColor& color = in.reflectance.color();
        miColor shaded = BLACK; // what the sample adds to the opaque part of the surface, per light colour
        if (data.isAmbient) {
            sums.ambient += color * sample.color;
            sums.ambientUnshadowed += color * data.unshadowedColor;
            writer.writeLit(PASS_AMBIENT_IRRADIANCE, WHITE);
            if (writer.writesComponents()) writer.writeLit(PASS_AMBIENT, withAlpha(color, 1.0f));
            shaded += color;
        }
        if (data.emitDiffuse) {
            if (vela.areaLight)
                sample.nDotL = arealight_lambertian_reflect(state, &sample.direction, vela.areaLight);
            writeIrradiance(writer, sample.nDotL);
            if (composite.componentMask & COMPOSITE_THROUGHPUT) sums.countShadow(data, sample.nDotL);

            const miScalar t = in.translucence == 0.0f
                                   ? 0.0f
                                   : compute_lambert_translucence(
                                         state, &sample.direction, vela.areaLight, sample.nDotL,
                                         in.translucence, in.translucenceForward, in.translucenceWrap);
            const miColor through = color * t;
            const miColor reflected = diffuse(color * in.reflectance.diffuse(), sample.nDotL);
            sums.addDiffuse(through, reflected, sample.color, data.unshadowedColor);
            if (writer.writesComponents()) {
                if (in.translucence != 0.0f) {
                    writer.writeLit(PASS_TRANSLUCENCE, withAlpha(through, 1.0f));
                    writer.writeLit(PASS_TRANSLUCENCE_NO_SHADOW, withAlpha(through, 1.0f));
                }
                // Light from behind reaches these passes only where it comes through.
                if (sample.nDotL >= 0.0f || t != 0.0f) {
                    const miColor both = withAlpha(through + reflected, 1.0f);
                    writer.writeLit(PASS_DIFFUSE, both);
                    writer.writeLit(PASS_DIFFUSE_NO_SHADOW, both);
                }
            }
            shaded += through + reflected;
        }
        if constexpr (requires { scatter.ofSample(state, sample, vela.areaLight); }) {
            if (data.emitDiffuse && !data.backSide && scatter.present())
                sums.scattered += scatter.ofSample(state, sample, vela.areaLight) * sample.color;
        }
        miColor highlight = BLACK;
        if constexpr (Specular::present) {
            // Highlights belong to the side that is seen; from the other they would count twice.
            if (data.emitSpecular && !data.backSide)
                highlight = shadeHighlight(sums, sample, state, vela, writer, specular);
        }
        if (writer.writesComponents()) {
            const miColor opaque = withAlpha((WHITE - in.transparency) * shaded, 1.0f);
            writer.writeLit(PASS_SHADOW, opaque);
            writer.writeLit(PASS_SHADOW_LUMINANCE, luminance(opaque));
            const miColor beauty = withAlpha(opaque + highlight, 1.0f);
            writer.writeLit(PASS_BEAUTY, beauty);
            writer.writeLit(PASS_BEAUTY_NO_REFLECTION_REFRACTION, beauty);
        }
    }

    /// Indirect light, sent back diffusely and from below the surface. It varies slowly, so what arrives at
    /// the point stands in for what enters around it.
    static miColor indirectLight(miState* state, P* record, const Inputs& in, const miColor& scattered) {
        const Indirect indirect(state, record);
        if (!anyAbove(scattered, 0.0f))
            return indirect(state, record, in.reflectance.color(), in.transparency, in.reflectance.diffuse(),
                            in.throughputBoost);
        return indirect(state, record, in.reflectance() + scattered, in.transparency, 1.0f,
                        in.throughputBoost);
    }

    static void writeIrradiance(const Writer& writer, miScalar nDotL) {
        if (!(nDotL > 0.0f)) return;
        const miColor irradiance{nDotL, nDotL, nDotL, 1.0f};
        writer.writeLit(PASS_DIRECT_IRRADIANCE, irradiance);
        writer.writeLit(PASS_DIRECT_IRRADIANCE_NO_SHADOW, irradiance);
        writer.writeLit(PASS_RAW_SHADOW, irradiance);
        writer.writeLit(PASS_RAW_SHADOW_LUMINANCE, nDotL);
    }

    static miColor shadeHighlight(LightSums& sums, LightSample& sample, miState* state,
                                  const VelabaseState& vela, const Writer& writer, const Specular& specular) {
        sample.specularDirection = sample.direction;
        if (vela.areaLight)
            arealight_max_phong_spec_dir(&sample.specularDirection, state, &sample.mirror, vela.areaLight);
        const miColor highlight = specular(state, sample);
        sums.specular += highlight * sample.color;
        sums.specularUnshadowed += highlight * vela.lightData.unshadowedColor;
        if (writer.writesComponents()) {
            writer.writeLit(PASS_SPECULAR, withAlpha(highlight, 1.0f));
            writer.writeLit(PASS_SPECULAR_NO_SHADOW, withAlpha(highlight, 1.0f));
        }
        return highlight;
    }

    static CompositeInputs lightParts(const bc& composite, const Inputs& in, const LightSums& light) {
        CompositeInputs parts{};
        const bool unshadowed = !(composite.componentMask & COMPOSITE_DIFFUSE) &&
                                (composite.componentMask & COMPOSITE_DIFFUSE_UNSHADOWED);
        parts.ambient = in.ambientTerm(composite) + (unshadowed ? light.ambientUnshadowed : light.ambient);
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
                                     const Result& result, const miColor& ambientTerm) {
        if (!writer.writesComponents()) return;
        miScalar facing = -dot(writer.state->normal, writer.state->dir);
        if (facing < 0.0f) facing = 1.0f;
        const miColor indirect = result.irradiance + result.scatter;
        writer.write(PASS_REFLECTED_MATERIAL_COLOR, reflection.materialColor(facing));
        writer.write(PASS_REFLECTION, result.reflection);
        writer.write(PASS_REFRACTION, result.refraction);
        writer.write(PASS_INCANDESCENCE, result.incandescence);
        writer.write(PASS_INDIRECT, indirect);
        writer.write(PASS_GLOW_SOURCE, result.glowColor);
        writer.write(PASS_FACING_RATIO, facing);
        writer.write(PASS_AMBIENT, ambientTerm);

        const miColor beauty = (WHITE - in.transparency) * (indirect + ambientTerm) + result.incandescence;
        if (!anyAbove(WHITE - in.transparency, 0.0f) && !anyAbove(beauty, 0.0f)) return; // nothing to be seen
        writer.write(PASS_BEAUTY, beauty);
        writer.write(PASS_BEAUTY_NO_REFLECTION_REFRACTION, beauty);
    }

    mutable void* scatterCache = nullptr; ///< subsurface data of the instance, made by compute_scatter
};

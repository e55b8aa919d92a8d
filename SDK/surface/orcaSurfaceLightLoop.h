// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The light loop of a material: what every light adds to the components and to the passes.

#include "orcaAreaLight.h"
#include "orcaDiffuseComponents.h"
#include "orcaGuards.h"
#include "orcaLambertTranslucence.h"
#include "orcaLightLoop.h"
#include "orcaLightSums.h"
#include "orcaSurfaceInputs.h"

/// Lives for one shading call and is run once.
/// @tparam Inputs a SurfaceInputs
/// @tparam Writer a SurfacePassWriter
template <class Inputs, class Writer, class Diffuse, class Specular, class Scatter>
class SurfaceLightLoop {
public:
    /// The components that are evaluated for each light sample.
    struct Components {
        const Diffuse& diffuse;
        const Specular& specular;
        const Scatter& scatter;
    };

    SurfaceLightLoop(const Writer& writer, const Inputs& in, const Components& components)
        : writer_(writer), call_(writer.call), in_(in), components_(components) {
        sample_.mirror = in.mirror;
    }

    /// Sum over the lights of the hit; over both sides when the surface was met from its back.
    [[nodiscard]] LightSums operator()() {
        if constexpr (lightFromAllAround) {
            // Lights choose by the normal what of them is above the horizon.
            const Restored<miVector> normal(call_.state->normal);
            call_.state->normal = {0.0f, 0.0f, 0.0f};
            return allLights();
        } else {
            return allLights();
        }
    }

private:
    static constexpr bool lightFromAllAround = requires(const Diffuse& diffuse, const miVector& v) {
        diffuse.cosine(v);
    };

    LightSums allLights() {
        int count = 0;
        miTag* lights = nullptr;
        LightSums all;
        if (call_.wants(COMPOSITE_THROUGHPUT)) wantAllLights(call_.state); // a ratio, not a sum
        if (!mi_instance_lightlist(&count, &lights, call_.state)) return all;
        const miScalar* const weights = lightWeights(call_.state);
        for (int i = 0; i < count; ++i) {
            const miScalar weight = weights ? weights[i] : 1.0f;
            all += light(lights[i], weight, miFALSE);
            if constexpr (!lightFromAllAround)
                if (call_.state->inv_normal) all += lightFromBehind(lights[i], weight);
        }
        return all;
    }

    // One light.

    LightSums lightFromBehind(miTag tag, miScalar weight) {
        miState* const state = call_.state;
        const Restored<miVector> normal(state->normal);
        const Restored<miVector> geometric(state->normal_geom);
        state->normal = -state->normal;
        state->normal_geom = -state->normal_geom;
        return light(tag, weight, miTRUE);
    }

    /// The mean over the samples of a light, seen from one side.
    LightSums light(miTag tag, miScalar weight, miBoolean backSide) {
        LightSums sums;
        LightLoop loop(call_.state, call_.vela, call_.passes, tag, backSide, call_.skipsShadows(), weight);
        while (loop.next(sample_)) shadeSample(sums);
        writer_.material.close(loop);
        if (loop.samples() > 1) sums *= 1.0f / static_cast<float>(loop.samples());
        if (writer_.has(PASS_LIGHT_SUM))
            writer_.write(PASS_LIGHT_SUM, sums.selected(call_.composite.componentMask));
        call_.vela.shadowSum = sums.shadow;
        return sums;
    }

    // One sample. What a member returns is a share of the light's colour.

    void shadeSample(LightSums& sums) {
        if constexpr (lightFromAllAround) sample_.nDotL = components_.diffuse.cosine(sample_.direction);
        miColor shaded = BLACK; // share that the opaque part of the surface reflects
        if (data().isAmbient) shaded += shadeAmbient(sums);
        if (data().emitDiffuse) shaded += shadeDiffuse(sums);
        addScattered(sums);
        writeTotals(shaded, shadeHighlight(sums));
    }

    miColor shadeAmbient(LightSums& sums) {
        const miColor& color = in_.reflectance.color();
        sums.ambient += color * sample_.color;
        sums.ambientUnshadowed += color * data().unshadowedColor;
        writer_.writeLit(PASS_AMBIENT_IRRADIANCE, WHITE);
        if (writer_.writesComponents()) writer_.writeLit(PASS_AMBIENT, withAlpha(color, 1.0f));
        return color;
    }

    miColor shadeDiffuse(LightSums& sums) {
        if (area() && !lightFromAllAround)
            sample_.nDotL = arealight_lambertian_reflect(call_.state, &sample_.direction, area());
        writeIrradiance();
        if (call_.wants(COMPOSITE_THROUGHPUT)) sums.countShadow(data(), sample_.nDotL);

        const auto [reflected, through] = diffuseShares();
        sums.addDiffuse(through, reflected, sample_.color, data().unshadowedColor);
        if (call_.additive) sums.diffuseUnshadowed += through * data().unshadowedColor;
        if (writer_.writesComponents()) {
            if (lightFromAllAround || in_.translucence != 0.0f) writeTranslucence(through);
            // What comes through from behind is in the picture's diffuse light, not in its passes'
            // definition.
            if (sample_.nDotL >= 0.0f || (call_.additive && !isZero(through)))
                writeDiffuse(through + reflected);
        }
        return through + reflected;
    }

    [[nodiscard]] DiffuseShares diffuseShares() const {
        if constexpr (lightFromAllAround) {
            return components_.diffuse.ofSample(sample_);
        } else {
            const miColor& color = in_.reflectance.color();
            return {components_.diffuse(color * in_.reflectance.diffuse(), sample_.nDotL),
                    color * translucentShare()};
        }
    }

    /// Share of the light that the surface transmits from behind.
    [[nodiscard]] miScalar translucentShare() const {
        if (in_.translucence == 0.0f) return 0.0f;
        return compute_lambert_translucence(call_.state, &sample_.direction, area(), sample_.nDotL,
                                            in_.translucence, in_.translucenceForward, in_.translucenceWrap);
    }

    /// For scatter components that are evaluated per light sample.
    void addScattered(LightSums& sums) {
        if constexpr (requires(const Scatter& s) { s.ofSample(call_.state, sample_, area()); }) {
            const Scatter& scatter = components_.scatter;
            if (data().emitDiffuse && !data().backSide && scatter.present())
                sums.scattered += scatter.ofSample(call_.state, sample_, area()) * sample_.color;
        }
    }

    /// On both sides of a surface met from its back, so that a highlight counts twice there; intended.
    miColor shadeHighlight(LightSums& sums) {
        if constexpr (Specular::present) {
            if (!data().emitSpecular) return BLACK;
            sample_.specularDirection = sample_.direction;
            if (area())
                arealight_max_phong_spec_dir(&sample_.specularDirection, call_.state, &sample_.mirror,
                                             area());
            const miColor highlight = components_.specular(call_.state, sample_);
            sums.specular += highlight * sample_.color;
            sums.specularUnshadowed += highlight * data().unshadowedColor;
            if (writer_.writesComponents()) writeHighlight(withAlpha(highlight, 1.0f));
            return highlight;
        } else {
            return BLACK;
        }
    }

    // Pass values of one sample, each record's weighted by the light that the record receives.

    /// Also when the material's writePasses is off.
    void writeIrradiance() const {
        const miScalar nDotL = sample_.nDotL;
        if (!(nDotL > 0.0f) || !writer_.writes()) return;
        const miColor irradiance{nDotL, nDotL, nDotL, 1.0f};
        writer_.writeLit(PASS_DIRECT_IRRADIANCE, irradiance);
        writer_.writeLit(PASS_DIRECT_IRRADIANCE_NO_SHADOW, irradiance);
        writer_.writeLit(PASS_RAW_SHADOW, irradiance);
        writer_.writeLit(PASS_RAW_SHADOW_LUMINANCE, nDotL);
    }

    void writeTranslucence(const miColor& through) const {
        writer_.writeLit(PASS_TRANSLUCENCE, withAlpha(through, 1.0f));
        writer_.writeLit(PASS_TRANSLUCENCE_NO_SHADOW, withAlpha(through, 1.0f));
    }

    void writeDiffuse(const miColor& share) const {
        const miColor value = withAlpha(share, 1.0f);
        writer_.writeLit(PASS_DIFFUSE, value);
        writer_.writeLit(PASS_DIFFUSE_NO_SHADOW, value);
    }

    void writeHighlight(const miColor& value) const {
        writer_.writeLit(PASS_SPECULAR, value);
        writer_.writeLit(PASS_SPECULAR_NO_SHADOW, value);
    }

    void writeTotals(const miColor& shaded, const miColor& highlight) const {
        if (!writer_.writesComponents()) return;
        const miColor opaque = withAlpha((WHITE - in_.transparency) * shaded, 1.0f);
        writer_.writeLit(PASS_SHADOW, opaque);
        writer_.writeLit(PASS_SHADOW_LUMINANCE, luminance(opaque));
        const miColor beauty = withAlpha(opaque + highlight, 1.0f);
        writer_.writeLit(PASS_BEAUTY, beauty);
        writer_.writeLit(PASS_BEAUTY_NO_REFLECTION_REFRACTION, beauty);
    }

    /// The light's description of its sample.
    [[nodiscard]] const LightData& data() const noexcept { return call_.vela.lightData; }
    /// Shape of the area light being sampled; null for other lights.
    [[nodiscard]] const AreaLightRecord* area() const noexcept { return call_.vela.areaLight; }

    const Writer& writer_;
    const ShadingCall& call_;
    const Inputs& in_;
    const Components components_;
    LightSample sample_;
};

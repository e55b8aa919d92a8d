// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Components of the ocean material. The material colour evaluates the waves once per shading call; the other
/// components read them from it.

#include "orcaColor.h"
#include "orcaLightSample.h"
#include "orcaOceanRefraction.h"
#include "orcaOceanShading.h"
#include "orcaOceanTexture.h"
#include "orcaParameters.h"
#include "orcaShaderHelpers.h"
#include "orcaSurfaceBump.h"
#include "orcaTracing.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

template <class P>
struct OceanShaderShaderHelper : SpecularShaderHelper<P> {};

/// Water under its foam. Construction bends the state's normal by the waves.
template <class P>
class OceanShaderDiffuseMaterialColorComponent {
public:
    OceanShaderDiffuseMaterialColorComponent(miState* state, P* record)
        : waves_(wavesAt(state, record)),
          color_(parameterValue(state, record, &P::color)),
          diffuse_(parameterValue(state, record, &P::diffuse)),
          transparency_(parameterValue(state, record, &P::transparency)) {
        miVector normal;
        mi_normal_from_world(state, &normal, &waves_.normal);
        bendNormal(state, normalized(normal));
        const miColor foamColor = parameterValue(state, record, &P::foamColor);
        miColor opacity = withAlpha(WHITE - transparency_, transparency_.a);
        oceanshader_apply_foam(waves_.foam, &WHITE, &foamColor, &color_, OCEAN_FOAM_OPAQUE, &opacity,
                               &bareness_);
        transparency_ = withAlpha(WHITE - opacity, transparency_.a);
    }
    [[nodiscard]] miColor operator()() const { return withAlpha(color_ * diffuse_, 1.0f); }
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_; }
    /// The material's transparency under foam.
    [[nodiscard]] const miColor& transparency() const noexcept { return transparency_; }
    /// Weight of reflections and highlights under foam.
    [[nodiscard]] const miColor& bareness() const noexcept { return bareness_; }
    [[nodiscard]] const OceanTextureSample& waves() const noexcept { return waves_; }

private:
    static OceanTextureSample wavesAt(miState* state, P* record) {
        OceanTextureSample waves{0.0f, 0.0f, {0.0f, 1.0f, 0.0f}};
        if (!parameterValue(state, record, &P::displaced)) {
            mi_normal_to_world(state, &waves.normal, &state->normal);
            waves.normal = normalized(waves.normal);
            if (state->inv_normal) waves.normal = -waves.normal;
        }
        oceanshader_compute_texture(&waves.height, &waves.foam, &waves.normal, state, record);
        if (state->inv_normal) waves.normal = -waves.normal; // seen from below
        return waves;
    }

    OceanTextureSample waves_;
    miColor color_;
    miScalar diffuse_;
    miColor transparency_;
    miColor bareness_ = WHITE;
};

template <class P>
class OceanShaderSpecularComponent {
public:
    static constexpr bool present = true;

    OceanShaderSpecularComponent(miState* state, P* record,
                                 const OceanShaderDiffuseMaterialColorComponent<P>& water)
        : color_(parameterValue(state, record, &P::specularColor) * water.bareness()),
          strength_(parameterValue(state, record, &P::specularStrength)),
          eccentricity_(std::max(leastEccentricity, parameterValue(state, record, &P::eccentricity))),
          reduction_(parameterValue(state, record, &P::specularReduction)),
          viewCosine_(-dot(state->normal, state->dir)) {}
    [[nodiscard]] const miColor& materialColor() const noexcept { return color_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        const miScalar lightCosine = dot(state->normal, sample.specularDirection);
        // A wave's normal may lean so far away from the viewer that no visible facet mirrors the light.
        if (!(lightCosine > 0.0f) || lightCosine + viewCosine_ <= 0.0f) return BLACK;
        return color_ * compute_oceanshader_specular(lightCosine, std::max(viewCosine_, VELA_EPS),
                                                     &sample.specularDirection, strength_, eccentricity_,
                                                     reduction_, &state->normal, state);
    }

private:
    static constexpr miScalar leastEccentricity = 0.001f; ///< at 0 the distribution is 0 / 0 at its peak

    miColor color_;
    miScalar strength_, eccentricity_, reduction_;
    miScalar viewCosine_;
};

/// The surroundings and a ramp from nadir to zenith, by Fresnel's equations.
template <class P>
class OceanShaderReflectionComponent {
public:
    OceanShaderReflectionComponent(miState* state, P* record,
                                   const OceanShaderDiffuseMaterialColorComponent<P>& water)
        : color_(parameterValue(state, record, &P::reflectionColor)),
          reflectivity_(parameterValue(state, record, &P::reflectivity)),
          index_(parameterValue(state, record, &P::refractiveIndex)),
          viewCosine_(std::clamp(-dot(state->normal, state->dir), 0.0f, 1.0f)),
          record_(record) {
        if (state->inv_normal && index_ > 0.0f) index_ = 1.0f / index_;
        reflects_ = !allBelow(color_, VELA_EPS) && reflectivity_ > 0.0f;
        color_ *= water.bareness();
    }

    /// The facing ratio is not used: waves that lean away from the viewer are seen edge on.
    [[nodiscard]] miColor materialColor(miScalar) const {
        if (!reflects_) return BLACK;
        const miScalar fresnel = index_ == 1.0f ? 1.0f : oceanFresnel(viewCosine_, index_);
        return withAlpha(color_ * (reflectivity_ * fresnel), 1.0f);
    }
    [[nodiscard]] miColor operator()(miState* state, const TraceContext& context) const {
        const miColor weight = materialColor(viewCosine_);
        if (!anyAbove(weight, 0.0f)) return BLACK;
        const ReflectionSettings settings{parameterValue(state, record_, &P::reflectionLimit),
                                          parameterValue(state, record_, &P::reflectionBlur),
                                          parameterValue(state, record_, &P::reflectionBlurSamples)};
        miColor light = compute_reflection(weight, settings, state, context);
        const miColor added = withAlpha(weight * environment(state, context.mirror), 0.0f);
        if (anyAbove(added, 0.0f)) {
            addUnhandedLight(state, *context.passes, false, added);
            light += added;
        }
        return light;
    }

private:
    [[nodiscard]] miColor environment(miState* state, miVector mirror) const {
        Ramp ramp;
        ramp_constructor(&ramp, state, &record_->i_environmentRamp, 1);
        miVector inWorld;
        mi_vector_to_world(state, &inWorld, &mirror);
        miColor color = BLACK;
        ramp_get_interp_color((1.0f + inWorld.y) * 0.5f, &ramp, &color);
        ramp_destructor(&ramp);
        return color;
    }

    miColor color_;
    miScalar reflectivity_, index_;
    miScalar viewCosine_;
    P* record_;
    bool reflects_;
};

/// Transparency, traced through the water or left to the renderer.
template <class P>
class OceanShaderRefractionComponent {
public:
    OceanShaderRefractionComponent(miState* state, P* record)
        : on_(parameterValue(state, record, &P::refractionsOn) != 0) {}

    [[nodiscard]] bool on() const noexcept { return on_; }
    [[nodiscard]] miColor operator()(miState* state, P* record, const TraceContext& context, bool traced,
                                     miColor& transparency) const {
        OceanRefractionSettings settings{};
        if (on_ && traced)
            settings = {parameterValue(state, record, &P::refractiveIndex),
                        parameterValue(state, record, &P::absorptionColor),
                        parameterValue(state, record, &P::lightAbsorbance),
                        parameterValue(state, record, &P::refractionLimit),
                        coneOpening(parameterValue(state, record, &P::refractionBlur)),
                        parameterValue(state, record, &P::refractionBlurSamples)};
        return oceanshader_compute_refraction(&transparency, settings, on_ && traced, state, context);
    }

private:
    static miScalar coneOpening(miScalar halfAngle) {
        return halfAngle > 0.0f ? 1.0f - std::cos(halfAngle) : 0.0f;
    }

    bool on_;
};

/// Light from behind a wave that its thin crest transmits.
template <class P>
class OceanShaderScatterComponent {
public:
    OceanShaderScatterComponent(miState* state, P* record,
                                const OceanShaderDiffuseMaterialColorComponent<P>& water)
        : strength_(parameterValue(state, record, &P::crestScatter)) {
        if (!present()) return;
        color_ = withAlpha(parameterValue(state, record, &P::scatterColor) * water.bareness(), 0.0f);
        softness_ = parameterValue(state, record, &P::crestSoftness);
        cutoff_ = parameterValue(state, record, &P::crestHeight);
        range_ = parameterValue(state, record, &P::crestRange);
        height_ = water.waves().height;
    }

    [[nodiscard]] bool present() const noexcept { return strength_ != 0.0f; }
    /// No share of the indirect light: crests transmit direct light only.
    [[nodiscard]] static miColor albedo() noexcept { return BLACK; }
    /// Share of a light sample.
    [[nodiscard]] miColor ofSample(miState* state, const LightSample& sample,
                                   const AreaLightRecord* area) const {
        return color_ * compute_oceanshader_diffuse(state, height_, &sample.direction, sample.nDotL,
                                                    strength_, softness_, cutoff_, range_, area);
    }
    /// @param light in: the sum over the light samples
    [[nodiscard]] const miColor* operator()(miState*, P*, bool, void*&, miColor& light) const {
        return present() ? &light : nullptr;
    }

private:
    miScalar strength_;
    miColor color_ = BLACK;
    miScalar softness_ = 0.0f, cutoff_ = 0.0f, range_ = 0.0f, height_ = 0.0f;
};

/// Stores the waves in the result, for connections to it.
template <class P>
class OceanShaderCustomComponent {
public:
    OceanShaderCustomComponent(miState*, P*, const OceanShaderDiffuseMaterialColorComponent<P>& water)
        : waves_(water.waves()) {}
    void operator()(miState*, P*, OceanShaderReturnType& result) const {
        result.displacement = waves_.height;
        result.foam = waves_.foam;
    }

private:
    OceanTextureSample waves_;
};

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Components of the ramp material. The material colour measures the hit and evaluates what is the same for
/// all lights once per shading call; the components ask it.

#include "orcaDiffuseComponents.h"
#include "orcaLightMeasures.h"
#include "orcaLightSample.h"
#include "orcaMirrorComponents.h"
#include "orcaRampParameters.h"
#include "orcaShaderHelpers.h"

#include <optional>

/// A ramp of the running shader; without entries it answers nothing.
class ParameterRamp {
public:
    /// @param array its start index, the first of the three fields of the array
    ParameterRamp(miState* state, int* array, bool isColor);

    explicit operator bool() const noexcept { return ramp_.count > 0; }
    [[nodiscard]] miColor color(miScalar position) const;
    [[nodiscard]] miScalar scalar(miScalar position) const { return ramp_get_interp_float(position, &ramp_); }

private:
    Ramp ramp_;
};

/// The measured hit and its diffuse colour.
class RampMaterialColor {
public:
    RampMaterialColor(miState* state, RampShaderParameters* record);

    [[nodiscard]] miColor operator()() const { return withAlpha(color_ * diffuse_, 1.0f); }
    /// Of light that has no angle: the ramp's colour in full light.
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_; }
    [[nodiscard]] const miColor& transparency() const noexcept { return transparency_; }

    /// Position on a ramp that is not evaluated per light.
    [[nodiscard]] miScalar measure(miInteger input) const;
    /// Reflected share of a light sample.
    [[nodiscard]] miColor reflected(miScalar nDotL) const;
    [[nodiscard]] std::optional<OwnDiffuseLight> ownLight() const;

private:
    miScalar facing_;
    LightMeasures lights_; ///< filled where an input asks for them
    miInteger input_;
    std::optional<ParameterRamp> ramp_;
    miColor color_;
    miScalar diffuse_;
    miColor transparency_;
};

template <class P>
struct RampShaderHelper : SpecularShaderHelper<P> {
    /// A shadow ray knows the facing angle alone.
    [[nodiscard]] static miColor shadowTransmission(miState* state, P* record);
};

class RampDiffuseComponent {
public:
    RampDiffuseComponent(miState*, RampShaderParameters*, const RampMaterialColor& color) : color_(color) {}
    [[nodiscard]] miColor operator()(const miColor&, miScalar nDotL) const { return color_.reflected(nDotL); }
    [[nodiscard]] std::optional<OwnDiffuseLight> ownLight() const { return color_.ownLight(); }

private:
    const RampMaterialColor& color_;
};

class RampSpecularComponent {
public:
    static constexpr bool present = true;

    RampSpecularComponent(miState* state, RampShaderParameters* record, const RampMaterialColor& color);
    [[nodiscard]] miColor materialColor() const;
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const;

private:
    [[nodiscard]] miScalar strength(miState* state, const LightSample& sample) const;

    miInteger shape_, input_;
    miColor color_; ///< plain, or that of the facing angle
    ParameterRamp ramp_;
    miScalar eccentricity_, rollOff_, viewCosine_, specularity_;
    miScalar peak_ = 1.0f; ///< strength of a light in the mirror direction
};

/// The surroundings, and a ramp from nadir to zenith.
class RampReflectionComponent : public MirrorComponent<RampShaderParameters, RampReflectionComponent> {
public:
    RampReflectionComponent(miState* state, RampShaderParameters* record, const RampMaterialColor& color);
    [[nodiscard]] miColor materialColor(miScalar) const { return color_ * reflectivity_; }
    [[nodiscard]] miColor operator()(miState* state, const TraceContext& context) const;
};

class RampIncandescenceComponent {
public:
    RampIncandescenceComponent(miState*, RampShaderParameters*, const RampMaterialColor& color)
        : color_(color) {}
    [[nodiscard]] miColor operator()(miState* state, RampShaderParameters* record) const;

private:
    const RampMaterialColor& color_;
};

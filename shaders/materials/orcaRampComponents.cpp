// SPDX-License-Identifier: Apache-2.0
#include "orcaRampComponents.h"

#include "orcaParameters.h"
#include "orcaSpecular.h"
#include "orcaSurfaceBump.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <cmath>

namespace {

using P = RampShaderParameters;

bool measuresLight(miInteger input) {
    return input != MEASURE_FACING_ANGLE;
}

/// Whether a ramp has entries and a measure of all lights together drives it.
bool measuresLight(miState* state, P* record, miInteger P::*input, int P::*count) {
    return *mi_eval_integer(&(record->*count)) > 0 && measuresLight(parameterValue(state, record, input));
}

bool anyMeasuresLight(miState* state, P* record) {
    if (*mi_eval_integer(&record->n_colorRamp) > 0 &&
        parameterValue(state, record, &P::colorInput) >= MEASURE_BRIGHTNESS)
        return true; // by the light's angle it is evaluated per light
    const int shapes =
        *mi_eval_integer(&record->n_eccentricityRamp) + *mi_eval_integer(&record->n_specularRollOffRamp);
    return measuresLight(state, record, &P::transparencyInput, &P::n_transparencyRamp) ||
           measuresLight(state, record, &P::incandescenceInput, &P::n_incandescenceRamp) ||
           measuresLight(state, record, &P::reflectivityInput, &P::n_reflectivityRamp) ||
           (shapes > 0 && measuresLight(parameterValue(state, record, &P::specularShapeInput)));
}

} // namespace

ParameterRamp::ParameterRamp(miState* state, int* array, bool isColor) {
    ramp_.count = 0;
    if (*mi_eval_integer(array + 1) > 0) ramp_constructor(&ramp_, state, array, isColor);
}

miColor ParameterRamp::color(miScalar position) const {
    miColor result = WHITE;
    ramp_get_interp_color(position, &ramp_, &result);
    return withAlpha(result, 1.0f);
}

RampMaterialColor::RampMaterialColor(miState* state, P* record)
    : facing_(std::min(1.0f, facingRatio(state))),
      input_(parameterValue(state, record, &P::colorInput)),
      color_(parameterValue(state, record, &P::color)),
      diffuse_(parameterValue(state, record, &P::diffuse)),
      transparency_(parameterValue(state, record, &P::transparency)) {
    if (anyMeasuresLight(state, record)) {
        VelabaseState* const vela = velabaseState(state);
        if (vela) lights_ = lightMeasures(state, *vela, vela->renderMode == RENDER_MODE_UNSHADOWED);
    }
    const ParameterRamp transparency(state, &record->i_transparencyRamp, true);
    if (transparency)
        transparency_ = transparency.color(measure(parameterValue(state, record, &P::transparencyInput)));
    ramp_.emplace(state, &record->i_colorRamp, true);
    if (!*ramp_) {
        ramp_.reset();
        input_ = MEASURE_FACING_ANGLE;
    } else {
        color_ = ramp_->color(input_ == MEASURE_FACING_ANGLE ? facing_ : 1.0f);
    }
}

miScalar RampMaterialColor::measure(miInteger input) const {
    switch (input) {
    case MEASURE_LIGHT_ANGLE: return lights_.angle;
    case MEASURE_BRIGHTNESS: return lights_.brightness;
    case MEASURE_RELATIVE: return lights_.most > 0.0f ? lights_.brightness / lights_.most : 0.0f;
    default: return facing_;
    }
}

miColor RampMaterialColor::reflected(miScalar nDotL) const {
    if (!(nDotL > 0.0f) || input_ >= MEASURE_BRIGHTNESS) return BLACK;
    if (input_ == MEASURE_LIGHT_ANGLE) return ramp_->color(nDotL) * diffuse_;
    return color_ * (diffuse_ * nDotL);
}

std::optional<OwnDiffuseLight> RampMaterialColor::ownLight() const {
    if (input_ < MEASURE_BRIGHTNESS) return std::nullopt;
    const miScalar scale = input_ == MEASURE_BRIGHTNESS ? 1.0f
                           : lights_.most > 0.0f        ? 1.0f / lights_.most
                                                        : 0.0f;
    const auto at = [&](miScalar brightness) {
        return withAlpha(ramp_->color(brightness * scale) * diffuse_, 0.0f);
    };
    return OwnDiffuseLight{at(lights_.brightness), at(lights_.unshadowedBrightness)};
}

template <>
miColor RampShaderHelper<P>::shadowTransmission(miState* state, P* record) {
    if (parameterValue(state, record, &P::shadowTransmitAll)) return WHITE;
    const ParameterRamp ramp(state, &record->i_transparencyRamp, true);
    if (!ramp) return parameterValue(state, record, &P::transparency);
    return ramp.color(std::min(1.0f, std::abs(dot(state->normal, state->dir))));
}

RampSpecularComponent::RampSpecularComponent(miState* state, P* record, const RampMaterialColor& color)
    : shape_(parameterValue(state, record, &P::specularShape)),
      input_(parameterValue(state, record, &P::specularInput)),
      color_(parameterValue(state, record, &P::specularColor)),
      ramp_(state, &record->i_specularColorRamp, true),
      eccentricity_(parameterValue(state, record, &P::eccentricity)),
      rollOff_(parameterValue(state, record, &P::specularRollOff)),
      viewCosine_(std::max(-dot(state->normal, state->dir), VELA_EPS)),
      specularity_(parameterValue(state, record, &P::specularity)) {
    const miScalar position = color.measure(parameterValue(state, record, &P::specularShapeInput));
    const ParameterRamp eccentricity(state, &record->i_eccentricityRamp, false);
    if (eccentricity) eccentricity_ = eccentricity.scalar(position);
    const ParameterRamp rollOff(state, &record->i_specularRollOffRamp, false);
    if (rollOff) rollOff_ = rollOff.scalar(position);
    if (ramp_ && input_ == MEASURE_FACING_ANGLE) color_ = ramp_.color(color.measure(MEASURE_FACING_ANGLE));
    if (ramp_ && input_ == MEASURE_RELATIVE) {
        const miVector mirror = mirrored(state->dir, state->normal);
        peak_ = strength(state, {WHITE, mirror, dot(mirror, state->normal), mirror, mirror});
    }
}

miColor RampSpecularComponent::materialColor() const {
    return (ramp_ && input_ != MEASURE_FACING_ANGLE ? ramp_.color(1.0f) : color_) * specularity_;
}

miColor RampSpecularComponent::operator()(miState* state, const LightSample& sample) const {
    const miScalar bright = strength(state, sample);
    if (!(bright > 0.0f)) return BLACK;
    if (!ramp_ || input_ == MEASURE_FACING_ANGLE) return color_ * (specularity_ * bright);
    if (input_ == MEASURE_LIGHT_ANGLE)
        return ramp_.color(std::max(0.0f, sample.nDotL)) * (specularity_ * bright);
    // As the brightness of diffuse light is, that of the highlight is replaced by the ramp.
    return ramp_.color(input_ == MEASURE_RELATIVE && peak_ > 0.0f ? bright / peak_ : bright) * specularity_;
}

miScalar RampSpecularComponent::strength(miState* state, const LightSample& sample) const {
    if (shape_ == RAMP_ROUND) {
        constexpr miScalar fullWhiteness = 1.0f;
        const miScalar size = std::max(eccentricity_ * eccentricity_, 8.1e-7f);
        return compute_phongE_specular(&sample.mirror, fullWhiteness, std::max(0.0f, rollOff_), size,
                                       sample.nDotL, &sample.specularDirection, state);
    }
    const miScalar lightCosine = std::max(0.0f, dot(state->normal, sample.specularDirection));
    return compute_blinn_specular(&sample.specularDirection, &state->normal, state, lightCosine, viewCosine_,
                                  eccentricity_, rollOff_, sample.nDotL);
}

RampReflectionComponent::RampReflectionComponent(miState* state, P* record, const RampMaterialColor& color)
    : MirrorComponent(state, record) {
    color_ = withAlpha(parameterValue(state, record, &P::reflectionColor), 1.0f);
    const ParameterRamp ramp(state, &record->i_reflectivityRamp, false);
    if (ramp)
        reflectivity_ =
            std::max(0.0f, ramp.scalar(color.measure(parameterValue(state, record, &P::reflectivityInput))));
}

miColor RampReflectionComponent::operator()(miState* state, const TraceContext& context) const {
    const miColor light = MirrorComponent::operator()(state, context);
    const ParameterRamp environment(state, &record_->i_environmentRamp, true);
    if (!environment || !anyAbove(materialColor(0.0f), 0.0f)) return light;
    miVector inWorld, mirror = context.mirror;
    mi_vector_to_world(state, &inWorld, &mirror);
    const miColor sky = environment.color(0.5f + 0.5f * normalized(inWorld).y);
    const miColor added = withAlpha(materialColor(0.0f) * sky, 0.0f);
    addUnhandedLight(state, *context.passes, false, added);
    return light + added;
}

miColor RampIncandescenceComponent::operator()(miState* state, P* record) const {
    const ParameterRamp ramp(state, &record->i_incandescenceRamp, true);
    if (!ramp) return parameterValue(state, record, &P::incandescence);
    return withAlpha(ramp.color(color_.measure(parameterValue(state, record, &P::incandescenceInput))), 0.0f);
}

// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaVolumePrimitive.h"

#include "orcaColor.h"
#include "orcaFractalNoise.h"
#include "orcaGuards.h"
#include "orcaMediumShape.h"
#include "orcaParameters.h"
#include "orcaVolumeSet.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

using P = VolumePrimitiveParameters;

constexpr const char* name = "vela_volumeprimitive";

struct NoiseSettings {
    miScalar amplitude, frequency;
    miInteger octaves;
    miScalar lacunarity, gain, threshold;
    miVector offset;

    [[nodiscard]] float at(const miVector& p) const {
        return fractalNoise(p + offset, frequency, octaves, lacunarity, gain);
    }
};

class ShapedMedium : public VolumePrimitive {
public:
    ShapedMedium(miState* state, P* record, VolumeSet& set);

    [[nodiscard]] bool next(const VolumeRay& ray, miScalar after, VolumeSpan& span) const override {
        if (!shape_.crossed(pointInShape(ray.origin), vectorInShape(ray.direction), span)) return false;
        return span.to > after;
    }
    [[nodiscard]] VolumeSample at(const VolumeRay& ray, miScalar distance) const override;

private:
    [[nodiscard]] miVector pointInShape(miVector p) const {
        if (placed_) mi_point_transform(&p, &p, toShape_);
        return p;
    }
    [[nodiscard]] miVector vectorInShape(miVector v) const {
        if (placed_) mi_vector_transform(&v, &v, toShape_);
        return v;
    }
    [[nodiscard]] float rampPosition(const miVector& p, float noise) const;
    [[nodiscard]] miColor mapped(miState* state, miTag map, const miVector& point, const miVector& p) const;
    void settle();

    MediumShape shape_;
    miMatrix toShape_;
    bool placed_;
    miScalar density_;
    miColor scattering_, absorption_, emission_;
    miScalar edgeDropoff_;
    miInteger rampInput_;
    NoiseSettings noise_;
    miTag densityMap_, colorMap_;
    const Ramp *densityRamp_, *emissionRamp_; // null: none
};

/// A ramp that lives as long as the set; null for an empty one.
const Ramp* rampOf(VolumeSet& set, miState* state, int* parameterArray, int count, bool isColor) {
    if (count == 0) return nullptr;
    auto* const ramp = static_cast<Ramp*>(set.allocate(sizeof(Ramp)));
    if (ramp) ramp_constructor(ramp, state, parameterArray, isColor);
    return ramp;
}

ShapedMedium::ShapedMedium(miState* state, P* record, VolumeSet& set) {
    const auto value = [&](auto field) { return parameterValue(state, record, field); };
    shape_ = {value(&P::shape), value(&P::coneEndRadius)};
    const miTag placement = value(&P::placement);
    placed_ = placement != miNULLTAG && mi_query(miQ_INST_GLOBAL_TO_LOCAL, state, placement, toShape_);
    layer = static_cast<VolumeLayer>(
        std::clamp<miInteger>(value(&P::layer), VOLUME_LAYER_LIGHT, VOLUME_LAYER_OBJECT));
    density_ = std::max(0.0f, value(&P::density));
    scattering_ = value(&P::scattering);
    absorption_ = value(&P::absorption);
    emission_ = value(&P::emission);
    anisotropy = std::clamp(value(&P::anisotropy), -0.99f, 0.99f);
    edgeDropoff_ = value(&P::edgeDropoff);
    rampInput_ = value(&P::rampInput);
    noise_ = {value(&P::noiseAmplitude),  value(&P::noiseFrequency), value(&P::noiseOctaves),
              value(&P::noiseLacunarity), value(&P::noiseGain),      value(&P::noiseThreshold),
              value(&P::noiseOffset)};
    densityMap_ = value(&P::densityMap);
    colorMap_ = value(&P::colorMap);
    densityRamp_ = rampOf(set, state, &record->i_densityRamp, record->n_densityRamp, false);
    emissionRamp_ = rampOf(set, state, &record->i_emissionRamp, record->n_emissionRamp, true);
    settle();
}

/// What the march needs to know of how the medium changes.
void ShapedMedium::settle() {
    homogeneous = edgeDropoff_ <= 0.0f && noise_.amplitude == 0.0f && !densityMap_ && !colorMap_ &&
                  !densityRamp_ && !emissionRamp_;
    if (homogeneous) return;
    constexpr float wholeShape = 2.0f, unknown = 0.0f;
    float inShape = shape_.kind == MEDIUM_EVERYWHERE ? unknown : wholeShape / 8.0f;
    const auto atMost = [&](float length) {
        inShape = inShape == unknown ? length : std::min(inShape, length);
    };
    if (edgeDropoff_ > 0.0f) atMost(0.5f * std::min(edgeDropoff_, 1.0f));
    if (noise_.amplitude != 0.0f && noise_.frequency > 0.0f) atMost(0.5f / noise_.frequency);
    detail = inShape;
    if (!placed_ || inShape == unknown) return;
    // In scene units, along the axis on which the shape is smallest.
    const miVector x{toShape_[0], toShape_[1], toShape_[2]}, y{toShape_[4], toShape_[5], toShape_[6]},
        z{toShape_[8], toShape_[9], toShape_[10]};
    const float shrinks = std::max({length(x), length(y), length(z)});
    if (shrinks > 0.0f) detail = inShape / shrinks;
}

float ShapedMedium::rampPosition(const miVector& p, float noise) const {
    switch (rampInput_) {
    case RAMP_BY_X: return 0.5f + 0.5f * p.x;
    case RAMP_BY_Y: return 0.5f + 0.5f * p.y;
    case RAMP_BY_Z: return 0.5f + 0.5f * p.z;
    case RAMP_BY_NOISE: return 0.5f + 0.5f * noise;
    default: return shape_.depthAt(p);
    }
}

/// What a shader says of a point: it sees it as the state's, and as the texture coordinate 0 to 1.
miColor ShapedMedium::mapped(miState* state, miTag map, const miVector& point, const miVector& p) const {
    const Restored<miVector> place(state->point);
    const Restored<miVector> texture(state->tex);
    const Restored<miVector*> coordinates(state->tex_list);
    const miVector coordinate{0.5f + 0.5f * p.x, 0.5f + 0.5f * p.y, 0.5f + 0.5f * p.z};
    state->point = point;
    state->tex = coordinate;
    miVector all[16]; // texture spaces all show the same place
    std::fill(std::begin(all), std::end(all), coordinate);
    int spaces = 0;
    if (mi_query(miQ_NUM_TEXTURES, state, miNULLTAG, &spaces) && spaces <= std::ssize(all))
        state->tex_list = all;
    mi_flush_cache(state);
    miColor color = BLACK;
    if (!mi_call_shader_x(&color, miSHADER_TEXTURE, state, map, nullptr)) color = BLACK;
    return color;
}

VolumeSample ShapedMedium::at(const VolumeRay& ray, miScalar distance) const {
    VolumeSample sample{scattering_ * density_, absorption_ * density_, emission_ * density_};
    if (homogeneous) return sample;
    const miVector point = ray.at(distance), p = pointInShape(point);
    float factor = 1.0f;
    if (edgeDropoff_ > 0.0f) {
        const float x = std::clamp(shape_.depthAt(p) / edgeDropoff_, 0.0f, 1.0f);
        factor *= x * x * (3.0f - 2.0f * x);
    }
    const bool rampsByNoise = rampInput_ == RAMP_BY_NOISE;
    float position = !rampsByNoise && (densityRamp_ || emissionRamp_) ? rampPosition(p, 0.0f) : 0.0f;
    const auto applyRamp = [&] {
        if (densityRamp_) factor *= std::max(0.0f, ramp_get_interp_float(position, densityRamp_));
    };
    if (!rampsByNoise) applyRamp();
    if (factor > 0.0f && (noise_.amplitude != 0.0f || rampsByNoise)) { // what costs most comes last
        const float noise = noise_.at(p);
        factor *= std::max(0.0f, 1.0f + noise_.amplitude * (noise - noise_.threshold));
        if (rampsByNoise) {
            position = rampPosition(p, noise);
            applyRamp();
        }
    }
    if (factor > 0.0f && densityMap_)
        factor *= std::max(0.0f, luminance(mapped(ray.state, densityMap_, point, p)));
    sample.scattering *= factor;
    sample.absorption *= factor;
    sample.emission *= factor;
    if (factor <= 0.0f) return sample;
    if (emissionRamp_) {
        miColor color = WHITE;
        ramp_get_interp_color(position, emissionRamp_, &color);
        sample.emission *= color;
    }
    if (colorMap_) {
        const miColor color = mapped(ray.state, colorMap_, point, p);
        sample.scattering *= color;
        sample.emission *= color;
    }
    return sample;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaVolumePrimitive_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaVolumePrimitive(miColor*, miState* state, VolumePrimitiveParameters* record,
                                              void* argument) {
    VolumeRequest* const request = volumeRequest(argument, name);
    if (!request) return miFALSE;
    request->set->add<ShapedMedium>(state, record, *request->set);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaVolumePrimitive.h"

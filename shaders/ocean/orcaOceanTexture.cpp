// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanTexture.h"

#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaOceanWaves.h"
#include "orcaParameters.h"
#include "orcaUserData.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

namespace {

using P = OceanShaderParameters;

/// The ramps of a shader's wave field.
struct WaveRamps {
    WaveRamps(miState* state, P* record) {
        ramp_constructor(&height, state, &record->i_heightRamp, 0);
        ramp_constructor(&turbulence, state, &record->i_turbulenceRamp, 0);
        ramp_constructor(&peaking, state, &record->i_peakingRamp, 0);
    }
    ~WaveRamps() {
        ramp_destructor(&height);
        ramp_destructor(&turbulence);
        ramp_destructor(&peaking);
    }
    WaveRamps(const WaveRamps&) = delete;
    WaveRamps& operator=(const WaveRamps&) = delete;

    Ramp height, turbulence, peaking;
};

OceanWaveField fieldOf(miState* state, P* record, const WaveRamps& ramps) {
    OceanWaveField field{};
    field.time = parameterValue(state, record, &P::timeValue) * parameterValue(state, record, &P::speedScale);
    field.patternScale = parameterValue(state, record, &P::patternScale);
    field.wind = parameterValue(state, record, &P::windVector);
    field.driftFactor = parameterValue(state, record, &P::driftFactor);
    field.spreadFactor = parameterValue(state, record, &P::spreadFactor);
    field.octaveCount = parameterValue(state, record, &P::octaveCount);
    field.minWavelength = parameterValue(state, record, &P::minWavelength);
    field.maxWavelength = parameterValue(state, record, &P::maxWavelength);
    field.heightRamp = &ramps.height;
    field.turbulenceRamp = &ramps.turbulence;
    field.peakingRamp = &ramps.peaking;
    field.foamRate = parameterValue(state, record, &P::foamRate);
    field.foamCutoff = parameterValue(state, record, &P::foamCutoff);
    ocean_prepare(field.patternScale, field.minWavelength, field.maxWavelength, field.octaveCount,
                  field.ratio);
    return field;
}

/// Size that the pixel covers on the water, from the hit's position and slant in camera space.
miScalar footprint(miState* state, VelabaseState* vela) {
    constexpr miScalar edgeOn = 1e-10f;    // cosine times distance: the plane passes through the eye
    constexpr miScalar everything = 1e10f; // size of the pixel then
    constexpr miScalar pixelShare = 3.5f;  // keeps more detail than the whole pixel would
    miVector point, normal;
    mi_point_to_camera(state, &point, &state->point);
    mi_normal_to_camera(state, &normal, &state->normal);
    const miScalar c = std::abs(dot(point, normalized(normal)));
    if (c <= edgeOn) return everything;
    return std::max(1e-8f, point.z * point.z * ocean_x_pixel_angle(vela) / (pixelShare * c));
}

/// The height input at a moved point.
class HeightInput {
public:
    HeightInput(miState* state, P* record, const miVector& pointInWorld)
        : state_(state), record_(record), pointInWorld_(pointInWorld), inObject_(hasReference(state)) {}

    /// @param dx, dz world units from the point
    [[nodiscard]] miScalar at(miScalar dx, miScalar dz) const {
        const Restored<miVector> point(state_->point);
        miVector moved = pointInWorld_ + miVector{dx, 0.0f, dz};
        mi_point_from_world(state_, &state_->point, &moved);
        if (inObject_) mi_point_to_object(state_, &state_->point, &state_->point);
        return parameterValue(state_, record_, &P::heightInput);
    }

private:
    static bool hasReference(miState* state) {
        unsigned tag = miNULLTAG;
        const bool found = velaObjectData(state->instance, REFERENCE_OBJECT_KIND, &tag) != nullptr;
        const Unpin pin(found ? tag : miNULLTAG);
        return found;
    }

    miState* state_;
    P* record_;
    miVector pointInWorld_;
    bool inObject_;
};

/// Slopes of a connected input are taken on surfaces only: volumes evaluate it at points of their own.
bool shadesSurface(const VelabaseState* vela) {
    return !vela || !(vela->flags & (VELA_BIT_ENVLIGHTFOG | VELA_BIT_VOLUMEFOG | VELA_BIT_FLUID));
}

miVector bent(const miVector& normal, const miVector& slope) {
    const miVector g = normalized(slope);
    return normalized({normal.x + g.x, normal.y * g.y, normal.z + g.z});
}

} // namespace

miScalar ocean_x_pixel_angle(VelabaseState*& vela) {
    constexpr miScalar commonPixel = 0.002053f;
    return vela ? vela->filterBase : commonPixel;
}

miScalar oceanshader_compute_texture(miScalar* height, miScalar* foam, miVector* normal, miState* state,
                                     OceanShaderParameters* parameters) {
    constexpr miScalar leastWidth = 1e-7f;
    const WaveRamps ramps(state, parameters);
    const OceanWaveField field = fieldOf(state, parameters, ramps);
    const OceanWaves waves(field);
    VelabaseState* const vela = velabaseState(state);

    miScalar width = 0.0f;
    if (foam || normal) {
        width = !vela || vela->filterEnabled ? footprint(state, vela) : vela->fixedFilterSize;
        width *= parameterValue(state, parameters, &P::filterScale);
    }
    miVector p;
    mi_point_to_world(state, &p, &state->point);
    miScalar h0 = 0.0f;
    waves.at(p.x, p.z, &h0, foam, width + leastWidth);
    if (foam) *foam += parameterValue(state, parameters, &P::foamBias);

    if (!normal) {
        h0 += parameterValue(state, parameters, &P::heightInput);
    } else {
        const miScalar blur = parameterValue(state, parameters, &P::normalBlur);
        const miScalar delta = (3.0f * width + blur) * field.minWavelength / field.patternScale;
        miScalar hx = 0.0f, hz = 0.0f;
        waves.at(p.x + delta, p.z, &hx, nullptr, width + leastWidth);
        waves.at(p.x, p.z + delta, &hz, nullptr, width + leastWidth);
        if (!isConnected(state, parameters, &P::heightInput)) {
            const miScalar constant = parameterValue(state, parameters, &P::heightInput);
            h0 += constant;
            hx += constant;
            hz += constant;
        } else if (shadesSurface(vela)) {
            const HeightInput input(state, parameters, p);
            h0 += input.at(0.0f, 0.0f);
            hx += input.at(delta, 0.0f);
            hz += input.at(0.0f, delta);
        }
        *normal = bent(*normal, {h0 - hx, delta, h0 - hz});
    }
    if (height) *height = h0;
    return h0;
}

using orcaReferenceObject = ReferenceObjectData;
#include "declared/orcaReferenceObject.h"

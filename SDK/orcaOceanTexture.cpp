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

/// The wave field as a shader's parameters describe it, read once per call.
class WaveField {
public:
    WaveField(miState* state, P* record)
        : time_(parameterValue(state, record, &P::timeValue) * parameterValue(state, record, &P::speedScale)),
          patternScale_(parameterValue(state, record, &P::patternScale)),
          wind_(parameterValue(state, record, &P::windVector)),
          drift_(parameterValue(state, record, &P::driftFactor)),
          spread_(parameterValue(state, record, &P::spreadFactor)),
          octaves_(parameterValue(state, record, &P::octaveCount)),
          minWavelength_(parameterValue(state, record, &P::minWavelength)),
          maxWavelength_(parameterValue(state, record, &P::maxWavelength)),
          foamRate_(parameterValue(state, record, &P::foamRate)),
          foamCutoff_(parameterValue(state, record, &P::foamCutoff)) {
        ocean_prepare(patternScale_, minWavelength_, maxWavelength_, octaves_, ratio_);
        ramp_constructor(&height_, state, &record->i_heightRamp, 0);
        ramp_constructor(&turbulence_, state, &record->i_turbulenceRamp, 0);
        ramp_constructor(&peaking_, state, &record->i_peakingRamp, 0);
    }
    ~WaveField() {
        ramp_destructor(&height_);
        ramp_destructor(&turbulence_);
        ramp_destructor(&peaking_);
    }
    WaveField(const WaveField&) = delete;
    WaveField& operator=(const WaveField&) = delete;

    [[nodiscard]] miScalar height(miScalar x, miScalar z, miScalar filterWidth, miScalar* foam) const {
        miScalar result;
        ocean_compute(x, z, time_, &result, foam, patternScale_, &wind_, drift_, spread_, octaves_,
                      minWavelength_, maxWavelength_, &height_, &turbulence_, &peaking_, foamRate_,
                      foamCutoff_, ratio_, filterWidth);
        return result;
    }
    /// The shortest waves, world units.
    [[nodiscard]] miScalar finestDetail() const noexcept { return minWavelength_ / patternScale_; }

private:
    miScalar time_, patternScale_;
    miVector wind_;
    miScalar drift_, spread_, octaves_, minWavelength_, maxWavelength_, foamRate_, foamCutoff_;
    miScalar ratio_ = 1.0f;
    Ramp height_, turbulence_, peaking_;
};

/// Size that the pixel covers on the water, from the hit's place and slant in camera space.
miScalar footprint(miState* state, VelabaseState* vela) {
    constexpr miScalar edgeOn = 1e-10f;    // cosine times distance: the plane passes through the eye
    constexpr miScalar everything = 1e10f; // what a pixel then covers
    constexpr miScalar pixelShare = 3.5f;  // keeps more detail than the whole pixel would
    miVector point, normal;
    mi_point_to_camera(state, &point, &state->point);
    mi_normal_to_camera(state, &normal, &state->normal);
    const miScalar c = std::abs(dot(point, normalized(normal)));
    if (c <= edgeOn) return everything;
    return std::max(1e-8f, point.z * point.z * ocean_x_pixel_angle(vela) / (pixelShare * c));
}

/// The height input where it is asked for, with the state's point moved there.
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
        const auto* const data = static_cast<const ReferenceObjectData*>(
            get_userdata(VELA_MAGIC, miSCENE_OBJECT, state->instance, &tag, nullptr));
        const Unpin pin(data ? tag : miNULLTAG);
        return data && data->kind == REFERENCE_OBJECT_KIND;
    }

    miState* state_;
    P* record_;
    miVector pointInWorld_;
    bool inObject_;
};

/// Slopes of a connected input are taken on surfaces only: fog and fluid have points of their own.
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
    const WaveField field(state, parameters);
    VelabaseState* const vela = velabaseState(state);

    miScalar width = 0.0f;
    if (foam || normal) {
        width = !vela || vela->filterEnabled ? footprint(state, vela) : vela->fixedFilterSize;
        width *= parameterValue(state, parameters, &P::filterScale);
    }
    miVector p;
    mi_point_to_world(state, &p, &state->point);
    miScalar h0 = field.height(p.x, p.z, width + leastWidth, foam);
    if (foam) *foam += parameterValue(state, parameters, &P::foamBias);

    if (!normal) {
        h0 += parameterValue(state, parameters, &P::heightInput);
    } else {
        const miScalar blur = parameterValue(state, parameters, &P::normalBlur);
        const miScalar delta = (3.0f * width + blur) * field.finestDetail();
        miScalar hx = field.height(p.x + delta, p.z, width + leastWidth, nullptr);
        miScalar hz = field.height(p.x, p.z + delta, width + leastWidth, nullptr);
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

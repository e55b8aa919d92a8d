// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaSpotLight.h"

#include "orcaLightCurve.h"
#include "orcaLightStrength.h"
#include "orcaSpotCone.h"
#include "orcaVector.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace {

using P = SpotLightParameters;

constexpr const char* name = "vela_spotlight";
constexpr float pi = std::numbers::pi_v<float>;

float radians(float degrees) {
    return degrees * (pi / 180.0f);
}

SpotCone coneOf(miState* state, P* record) {
    return {radians(0.5f * parameterValue(state, record, &P::coneAngle)),
            radians(parameterValue(state, record, &P::penumbraAngle)),
            parameterValue(state, record, &P::dropoff)};
}

/// Share of the light that the doors leave. Each turns about an edge of the lamp, so that its shadow is
/// straight on a wall that the lamp faces.
float shareBetweenDoors(miState* state, P* record, const miVector& inLamp, float penumbra) {
    const auto left = [&](float across, miScalar P::*door) {
        return shareBeforeEdge(std::atan2(across, inLamp.z), radians(parameterValue(state, record, door)),
                               penumbra);
    };
    return left(-inLamp.x, &P::barnDoorLeft) * left(inLamp.x, &P::barnDoorRight) *
           left(inLamp.y, &P::barnDoorTop) * left(-inLamp.y, &P::barnDoorBottom);
}

bool inSomeRegion(miState* state, P* record, float distance) {
    const auto within = [&](miScalar P::*start, miScalar P::*end) {
        return distance >= parameterValue(state, record, start) &&
               distance <= parameterValue(state, record, end);
    };
    return within(&P::regionStart1, &P::regionEnd1) || within(&P::regionStart2, &P::regionEnd2) ||
           within(&P::regionStart3, &P::regionEnd3);
}

/// Density of light fog: full on the axis, none at the rim.
float fogDensity(miState* state, P* record, float angle, float rim) {
    const float spread = parameterValue(state, record, &P::fogSpread);
    if (!(spread > 0.0f) || !(rim > 0.0f)) return 0.0f;
    const float x = std::min(1.0f, angle / rim);
    return parameterValue(state, record, &P::fogIntensity) * std::pow(1.0f - x * x, 1.0f / spread);
}

/// While it exists, textures are looked up where the slide is met, with the footprint that a pixel has there.
class SlideSpace {
public:
    SlideSpace(miState* state, VelabaseState& vela, const Slide& slide, const LampFrame& frame,
               const miVector& inLamp)
        : coordinate_(state, vela, slide.place(inLamp)),
          direction_(state->dir),
          cosine_(state->dot_nd),
          u_(state->derivs[0]),
          v_(state->derivs[1]) {
        miVector normal, u, v;
        mi_normal_to_light(state, &normal, &state->normal_geom);
        if (!slide.derivatives(inLamp, normalized(frame.of(normal)), u, v)) {
            state->derivs[0] = state->derivs[1] = {0.0f, 0.0f, 0.0f};
            return;
        }
        const auto internal = [&](const miVector& d) {
            miVector of = frame.right * d.x + frame.up * d.y + frame.forward * d.z;
            mi_vector_from_light(state, &of, &of);
            return of;
        };
        state->derivs[0] = internal(u);
        state->derivs[1] = internal(v);
        if (!state->parent) return;
        // The pixel's footprint is that of the ray which met the surface.
        state->dir = state->parent->dir;
        state->dot_nd = state->parent->dot_nd;
    }

private:
    const LightTextureSpace coordinate_;
    const Restored<miVector> direction_;
    const Restored<miScalar> cosine_;
    const Restored<miVector> u_, v_;
};

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaSpotLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaSpotLight(miColor* result, miState* state, SpotLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        const SpotCone cone = coneOf(state, record);
        const miScalar radius = parameterValue(state, record, &P::lightRadius);
        const auto lamp = lampStrength(state, record, name, cone.solidAngle(), pi * radius * radius);
        if (!lamp) return miFALSE;
        const float distance = static_cast<float>(state->dist);
        float intensity = lamp->at(distance, parameterValue(state, record, &P::decayRate));
        if (state->type != miRAY_LIGHT) {
            const miColor color = lampColor(state, record);
            *result = light_backside_hit(state) ? BLACK : color * intensity;
            return showLamp(*result, vela);
        }

        const LampFrame frame = LampFrame::about(axisInLight(state));
        miVector inLamp, apex;
        mi_point_to_light(state, &inLamp, &state->point);
        mi_point_to_light(state, &apex, &state->org);
        inLamp = frame.of(inLamp - apex);
        const float angle = std::atan2(std::hypot(inLamp.x, inLamp.y), inLamp.z);
        intensity *= cone.share(angle);
        if (intensity != 0.0f && parameterValue(state, record, &P::useBarnDoors))
            intensity *= shareBetweenDoors(state, record, inLamp, cone.penumbra);
        if (intensity != 0.0f && parameterValue(state, record, &P::useDecayRegions) &&
            !inSomeRegion(state, record, distance))
            intensity = 0.0f;
        if (intensity == 0.0f) return miFALSE;
        if (vela.flags & VELA_BIT_ENVLIGHTFOG) intensity *= fogDensity(state, record, angle, cone.rim());
        const miTag profile = parameterValue(state, record, &P::lightProfile);
        if (profile != miNULLTAG) intensity *= mi_lightprofile_sample(state, profile, miTRUE);
        intensity *= scalarOnCurve(state, &record->i_intensityCurve, distance);

        std::optional<SlideSpace> slide;
        if (isConnected(state, record, &P::color))
            slide.emplace(state, vela, Slide(cone.rim()), frame, inLamp);
        const miColor color = lampColor(state, record) * colorOnCurve(state, &record->i_colorCurve, distance);
        slide.reset();
        *result = withAlpha(color * intensity, color.a);
        return deliverFromDisc(*result, state, record, vela, passes, intensity);
    });
}

} // extern "C"

#include "declared/orcaVelaSpotLight.h"

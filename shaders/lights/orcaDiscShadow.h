// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Soft shadows: the mean transmission of shadow rays over a disc, with a second, four times larger set of
/// rays when the first found some but not only partly transmitting ones.

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaLightProtocol.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <cmath>
#include <numbers>

/// A disc to draw points on.
struct SamplingDisc {
    miVector center;
    miVector axis1, axis2; ///< unit, in the disc's plane
    miScalar radius;

    /// The disc through `center` perpendicular to `normal`. Its first axis points to where its plane meets a
    /// coordinate axis; its second is perpendicular to that.
    static SamplingDisc perpendicularTo(const miVector& normal, const miVector& center, miScalar radius);

    /// Uniform over the area for uniform arguments in [0, 1).
    [[nodiscard]] miVector point(double rho, double phi) const {
        const float r = radius * std::sqrt(static_cast<float>(rho));
        const float angle = static_cast<float>(phi) * (2.0f * std::numbers::pi_v<float>);
        return center + axis1 * (r * std::cos(angle)) + axis2 * (r * std::sin(angle));
    }
};

/// Mean transmission of shadow rays, into `transmission` and, per record, into the light colours. False when
/// all are blocked.
/// @param rays  of the first set
/// @param place void (const miVector& pointOnDisc): points the state's shadow ray there
template <class Place>
bool adaptiveDiscShadow(miColor* transmission, const SamplingDisc& disc, const miColor& lightValue,
                        const miColor& shadowColor, unsigned rays, miState* state, unsigned count,
                        FrameBufferInfo* records, const Place& place) {
    traceShadowAccumulateBegin(count, records);
    miUint n = rays;
    miColor mean[2] = {BLACK, BLACK};
    int sets = 0;
    miUint taken = 0;
    bool mixed = true;
    while (mixed && sets < 2) {
        miColor sum = BLACK;
        miUint partlyTransmitted = 0;
        double sample[2];
        int instance = 0;
        while (mi_sample(sample, &instance, state, 2, &n)) {
            place(disc.point(sample[0], sample[1]));
            miColor t;
            const bool light = traceShadowAccumulate(count, records, &t, state);
            if (!light || allBelow(t, VELA_EPS)) continue;
            sum += t;
            if (t.r != 1.0f || t.g != 1.0f || t.b != 1.0f) ++partlyTransmitted;
        }
        taken += n;
        mean[sets++] = sum / static_cast<float>(n);
        mixed = partlyTransmitted != 0 && partlyTransmitted != n;
        // Intended: a mixed second set raises n once more without taking those rays, so that the records are
        // divided by four times the rays taken, unless the passes add up.
        if (mixed) n *= 4;
    }
    if (count != 0 && !hasAdditivePasses(state)) taken = sets == 1 ? n : n + n / 4;
    *transmission = sets == 1 ? mean[0] : mean[0] * 0.2f + mean[1] * 0.8f;
    transmission->a = 1.0f;
    traceShadowAccumulateEnd(count, records, taken, &lightValue, &shadowColor, state);
    return !allBelow(*transmission, VELA_EPS);
}

/// Soft shadow of light from infinity along the state's ray direction: a unit disc at the distance at which
/// it fills the light's angle (degrees).
bool distantDiscShadow(miColor* transmission, const miColor& lightValue, const miColor& shadowColor,
                       float angleDegrees, unsigned rays, miState* state, unsigned count,
                       FrameBufferInfo* records);

/// Soft shadow of a light with a position: a disc about the state's ray origin, perpendicular to the ray.
extern "C" ORCA_EXPORT bool sample_disc_shadow(miColor* transmission, const miColor* lightValue,
                                               const miColor* shadowColor, float radius, unsigned rays,
                                               miState* state, unsigned count, FrameBufferInfo* records);

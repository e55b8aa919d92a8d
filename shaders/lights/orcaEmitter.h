// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A flat lamp as a shaded point sees it, its points, and shadows averaged over them.

#include "orcaColor.h"
#include "orcaVelaState.h"

#include <shader.h>

struct PassRecords;

/// The points of the lamp's square between -1 and 1, or of the disc in it.
class Emitter {
public:
    /// @param state of the light
    /// @param shape an AreaShape
    Emitter(miState* state, miInteger shape);

    [[nodiscard]] const AreaLightRecord& outline() const noexcept { return outline_; }
    /// Square scene units.
    [[nodiscard]] miScalar area() const;
    /// Solid angle from the state's point, steradians.
    [[nodiscard]] miScalar solidAngle() const noexcept { return solidAngle_; }

    /// A point of the lamp.
    struct Sample {
        miVector place;      ///< internal space
        miVector coordinate; ///< as the lamp is seen from its front: 0 to 1 from left to right and upwards
        /// Irradiance from around the point, relative to the mean over the lamp. On a surface of which all of
        /// the lamp is behind the horizon: the part of the solid angle.
        miScalar weight;
    };
    /// Stratified points, uniform over the area; those of weight 0 are left out.
    /// @param visit void (const Sample&)
    template <class Visit>
    void eachSample(miState* state, miUint count, const Visit& visit) const {
        const miScalar received = receivedCosine(state);
        double coordinates[2];
        int instance = 0;
        while (mi_sample(coordinates, &instance, state, 2, &count)) {
            const Sample sample = sampleAt(state, coordinates[0], coordinates[1], received);
            if (sample.weight > 0.0f) visit(sample);
        }
    }

private:
    /// Of the state's surface; not above 0: all of the lamp is behind its horizon.
    [[nodiscard]] miScalar receivedCosine(const miState* state) const;
    [[nodiscard]] Sample sampleAt(const miState* state, double s, double t, miScalar receivedCosine) const;

    AreaLightRecord outline_;
    miVector normal_; ///< unit
    miScalar solidAngle_;
};

/// Sums of shadow rays with a weight for each channel of each.
class WeightedShadows {
public:
    WeightedShadows(miState* state, const PassRecords& passes);
    /// Traces the state's shadow ray.
    void trace(const miColor& weight);
    /// Closes the sums of the passes. The mean transmission; 1 in channels without weight.
    [[nodiscard]] miColor end(const miColor& light, const miColor& shadowColor);

private:
    [[nodiscard]] miColor mean(const miColor& sum) const;

    miState* state_;
    const PassRecords& passes_;
    miColor sum_ = BLACK, weights_ = BLACK;
};

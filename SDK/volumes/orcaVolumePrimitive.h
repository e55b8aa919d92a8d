// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What fills space: the parts that a volume shader integrates along rays. Coefficients are per scene unit of
/// a ray's path; parts that overlap add up.

#include "orcaConstants.h"
#include "orcaVector.h"

#include <shader.h>

/// Which layer shows a part's light. The numbers are those of the pass types, less the first.
enum VolumeLayer : miInteger { VOLUME_LAYER_LIGHT = 0, VOLUME_LAYER_SCENE = 1, VOLUME_LAYER_OBJECT = 2 };
inline constexpr int VOLUME_LAYER_COUNT = 3;

/// A path through the parts, internal space.
struct VolumeRay {
    miState* state;
    miVector origin;
    miVector direction; ///< unit
    miScalar length;    ///< scene units

    [[nodiscard]] miVector at(miScalar distance) const noexcept { return origin + direction * distance; }
};

struct VolumeSpan {
    miScalar from, to; ///< distances along a ray; empty unless from < to
};

/// What a part is like at a point. Alpha is unused.
struct VolumeSample {
    miColor scattering{}, absorption{}; ///< coefficients
    miColor emission{};                 ///< radiance per scene unit
};

/// A medium. Made for one call of a volume shader, by the shader that describes it.
class VolumePrimitive {
public:
    virtual ~VolumePrimitive() = default;

    /// The first part of the ray, from `after` on, that may not be empty. False: there is none.
    [[nodiscard]] virtual bool next(const VolumeRay& ray, miScalar after, VolumeSpan& span) const = 0;
    [[nodiscard]] virtual VolumeSample at(const VolumeRay& ray, miScalar distance) const = 0;

    VolumeLayer layer = VOLUME_LAYER_OBJECT;
    /// Mean cosine of the angle by which light is scattered, -1 to 1 (the asymmetry of L. Henyey and J.
    /// Greenstein, "Diffuse radiation in the galaxy", 1941).
    miScalar anisotropy = 0.0f;
    bool homogeneous = false; ///< the same wherever it is
    /// Scene units: length over which it can change much; steps are not longer at first. 0: not known.
    miScalar detail = 0.0f;
};

/// Light that one lamp makes visible in the air, without dimming what is behind.
struct LightFog {
    miTag light;      ///< its instance
    VolumeSpan span;  ///< of the ray
    miInteger points; ///< at which the light is asked for, 1 or more
    /// The light's answer is of the whole span, not of a scene unit of it.
    bool answersForSpan;
};

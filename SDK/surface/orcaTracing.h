// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Secondary rays of materials; the pass values of each are accumulated to the parent level. Light of a ray
/// without pass values (of the environment or a surface of another library) is added to the beauty pass, so
/// that the beauty stays the picture.

#include "orcaExport.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

#include <algorithm>

/// What a component needs to trace.
struct TraceContext {
    VelabaseState* vela;
    const PassRecords* passes;
    miVector mirror; ///< mirror direction at the shading normal
};

enum class RayKind { Reflection, Refraction };

/// Visible lamps that a material has counted as highlights, so that its rays leave them out.
struct CountedLamps {
    static constexpr int most = 16; ///< further ones are not noted, and are seen by rays as well
    miTag lamps[most];
    int count = 0;

    void add(miTag light) noexcept {
        if (count < most) lamps[count++] = light;
    }
    [[nodiscard]] bool has(miTag light) const noexcept {
        return std::find(lamps, lamps + count, light) != lamps + count;
    }
};

/// One ray and its weight.
struct SecondaryRay {
    RayKind kind;
    miVector direction;
    miColor weight;
    int limit;          ///< level of its kind from which on the environment replaces the ray
    miColor absorbance; ///< per scene unit of the ray's length
    bool surroundings = true;
    miScalar surroundingsShare = 1.0f;     ///< weight of what a ray brings that meets no surface
    const CountedLamps* counted = nullptr; ///< lamps that count 0
};

/// Traces a ray with its pass values, or looks the environment up at the limits. Returns its light, weighted.
[[nodiscard]] miColor traceSecondaryRay(miState* state, const SecondaryRay& ray, const TraceContext& context);

/// The direction, lifted to the side of the geometric normal when a bent normal moved it below.
[[nodiscard]] miVector aboveSurface(const miVector& direction, const miVector& geometricNormal);

struct RefractionSettings {
    miScalar refractiveIndex; ///< inside relative to outside
    miScalar absorbance;      ///< per scene unit of travel inside
    miInteger limit;          ///< refraction level from which on the environment replaces the ray
    miScalar blur;            ///< radians, half angle of the cone of directions; 0: one sharp ray
    miInteger blurSamples;    ///< rays at level 0, fewer further down; below 2: one sharp ray
    /// Index of blue less that of red, over (index - 1): the reciprocal of the glass's Abbe number. 0: one
    /// ray.
    miScalar chromaticAberration = 0.0f;
    /// Scene units. Above 0: light crosses a pane of this thickness and keeps its direction, with a lateral
    /// offset.
    miScalar thickness = 0.0f;
};

struct ReflectionSettings {
    miInteger limit; ///< reflection level from which on the environment replaces the ray
    miScalar blur;   ///< radians, as above
    miInteger blurSamples;
    bool surroundings = true; ///< false: a ray that meets no surface is black
};

/// Refracted direction of a ray by Snell's law; false on total internal reflection.
/// @param eta refractive index on the ray's side over that beyond
/// @param n   unit normal on the ray's side
[[nodiscard]] bool refractedDirection(miVector& result, const miVector& incoming, const miVector& n,
                                      miScalar eta);

/// Adds light that has no pass values to the beauty records, as a reflection or refraction ray from the
/// state's level would.
void addUnhandedLight(miState* state, const PassRecords& passes, bool isRefraction, const miColor& light);

/// Light that arrives through the surface, times the transparency and what the inside absorbs. Total internal
/// reflection is traced as a reflection.
/// @param transparency in: the material's; out: what the renderer still has to trace straight on: nothing
///                     when the light has been refracted, else the material's, with its luminance as alpha
/// @param on           false: nothing is traced, the result is black
extern "C" [[nodiscard]] ORCA_EXPORT miColor compute_refraction(miColor* transparency,
                                                                const RefractionSettings& settings, bool on,
                                                                miState* state, const TraceContext& context);

/// Light that arrives in the mirror direction, times the reflectivity; black for a black one.
extern "C" [[nodiscard]] ORCA_EXPORT miColor compute_reflection(const miColor& reflectivity,
                                                                const ReflectionSettings& settings,
                                                                miState* state, const TraceContext& context);

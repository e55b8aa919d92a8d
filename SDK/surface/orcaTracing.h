// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Secondary rays of materials; the pass values of each are accumulated to the parent level. Light of a ray
/// without pass values (of the environment or a surface of another library) is added to the beauty pass, so
/// that the beauty stays the picture.

#include "orcaExport.h"
#include "orcaPassRecords.h"
#include "orcaVelaState.h"

/// What a component needs to trace.
struct TraceContext {
    VelabaseState* vela;
    const PassRecords* passes;
    miVector mirror; ///< mirror direction at the shading normal
};

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

// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The standard materials once more, step by step and in double precision: what one shading call leaves in
/// its result and in the records of all passes. Shares no code with the library but its parameter and pass
/// records.

#include "oracle/reference.h"
#include "orcaFrameBufferRecords.h"
#include "orcaSpecularParameters.h"
#include "orcaSurfaceShaderReturnType.h"

#include <array>
#include <string>
#include <vector>

namespace reference {

enum class Material { Lambert, Phong, PhongE, Blinn, Anisotropic };

/// One sample of a light and what blocks it.
struct LightSampleCase {
    miVector direction; ///< to the light, unit
    miColor transmission;
    std::vector<miColor> recordTransmission; ///< of each record
};

struct LightCase {
    bool foreign; ///< knows nothing of passes
    bool ambient; ///< shines from everywhere
    bool emitDiffuse, emitSpecular;
    miColor color, shadowColor;
    std::string mask; ///< pass mask; empty admits all
    std::vector<LightSampleCase> samples;
};

/// What a secondary ray meets.
struct RayCase {
    miColor color;
    std::vector<miColor> handedUp; ///< by each record
};

struct RecordCase {
    PassTypeID type;
    unsigned flags;    ///< as the scene sets them
    unsigned userWord; ///< space of normals
    int levelMode;
    miColor held; ///< before the call
};

struct SurfaceCase {
    Material material;
    SurfaceParameters surface;
    miColor specularColor;
    float specular[4]; ///< the highlight's parameters, in order of declaration
    float reflectivity;
    int renderMode; ///< 7: mode 6 while the renderer gathers
    int rayType;
    int reflectionLevel, refractionLevel;
    bool twoSided;
    miVector normal, geometricNormal, rayDirection;
    bool bumped;
    miVector bump;
    miColor throughput;
    float throughputCutoff;
    miColor gathered;
    RayCase reflected, refracted;
    std::vector<LightCase> lights;
    std::vector<RecordCase> records;

    [[nodiscard]] int level() const { return reflectionLevel + refractionLevel; }
};

struct SurfaceOutcome {
    Rgba color, glowColor, matteOpacity, transparency, opacity;
    Rgba ambient, incandescence, irradiance, diffuse, diffuseUnshadowed, specular, specularUnshadowed,
        reflection,
        refraction;         ///< the inputs that the mode uses; black where it uses none
    std::vector<Rgba> held; ///< by each record at the state's level
    Rgba lightThroughput;   ///< that the lights see
};

[[nodiscard]] SurfaceOutcome shade(const SurfaceCase& c);
/// A surface, lights, rays and passes of any kind.
[[nodiscard]] SurfaceCase randomSurface(Random& random);

/// Highlight strengths, and light from behind; directions are unit length.
struct View {
    int rayType;
    V3 rayDirection;
};
[[nodiscard]] double phong(V3 mirror, V3 light, const View& view, double exponent, double nDotL);
[[nodiscard]] double phongE(V3 mirror, double whiteness, double roughness, double size, double nDotL,
                            V3 light, const View& view);
[[nodiscard]] double blinn(V3 light, V3 normal, const View& view, double a, double b, double eccentricity,
                           double rollOff, double nDotL);
/// By tangents of unit length and the widths of the slopes along them.
[[nodiscard]] double anisotropic(V3 normal, V3 along, V3 across, double alphaAlong, double alphaAcross,
                                 V3 light, V3 rayDirection);
[[nodiscard]] double fresnel(double cosine, double index);
[[nodiscard]] double translucence(V3 rayDirection, V3 light, double nDotL, double amount, double forward,
                                  double wrap);

/// Whether a hexadecimal pass mask admits a record; an empty one admits all.
[[nodiscard]] bool admits(const std::string& mask, std::size_t record);
/// Flags that records of a type have once a render has begun.
[[nodiscard]] unsigned flagsInRender(PassTypeID type, unsigned sceneFlags);
/// What a light's sample delivers to a record, from the record's own transmission.
[[nodiscard]] Rgba delivered(unsigned flags, bool contributes, Rgba light, Rgba shadow, Rgba transmission);

} // namespace reference

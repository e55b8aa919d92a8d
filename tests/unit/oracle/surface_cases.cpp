// SPDX-License-Identifier: Apache-2.0
#include "oracle/pipeline_oracle.h"

#include <algorithm>

namespace reference {

namespace {

std::vector<RecordCase> randomRecords(Random& random) {
    std::vector<RecordCase> records;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        const bool several =
            type == PASS_BEAUTY || type == PASS_DIFFUSE || type == PASS_SHADOW || type == PASS_NORMAL;
        for (unsigned copy = 0; copy < (several ? 3u : 1u); ++copy) {
            const unsigned allowed = FB_SHADOWED | FB_INCLUDE_REFLECTION | FB_INCLUDE_REFRACTION;
            records.push_back({static_cast<PassTypeID>(type), static_cast<unsigned>(random.next()) & allowed,
                               copy, random.chance(0.8f) ? 0 : random.below(4), random.color()});
        }
    }
    return records;
}

LightCase randomLight(Random& random, const V3& normal, std::size_t records) {
    LightCase light{};
    light.foreign = random.chance(0.15f);
    light.ambient = random.chance(0.15f);
    light.emitDiffuse = !light.ambient && random.chance(0.85f);
    light.emitSpecular = !light.ambient && random.chance(0.85f);
    light.color = random.color(0.0f, 2.0f);
    light.shadowColor = random.color(0.0f, 0.3f);
    if (random.chance(0.4f))
        for (std::size_t i = 0; i <= records / 4; ++i) light.mask += "0123456789abcdef"[random.below(16)];
    const int samples = random.chance(0.1f) ? 0 : random.chance(0.5f) ? 1 : 1 + random.below(4);
    for (int i = 0; i < samples; ++i) {
        LightSampleCase sample{random.direction(), random.color(0.05f, 1.0f), {}};
        if (dot(normal, sample.direction) < 0 && random.chance(0.7f))
            sample.direction = (V3(sample.direction) - normal * (2 * dot(normal, sample.direction))).single();
        if (normal.z == 1 && random.chance(0.1f)) sample.direction = {0.6f, 0.8f, 0.0f}; // at the terminator
        for (std::size_t r = 0; r < records; ++r) sample.recordTransmission.push_back(random.color());
        light.samples.push_back(sample);
    }
    return light;
}

} // namespace

SurfaceCase randomSurface(Random& random) {
    SurfaceCase c{};
    c.material = static_cast<Material>(random.below(5));
    SurfaceParameters& s = c.surface;
    constexpr int writeModes[] = {1, 1, 1, 1, 3, 2, 4, -1, 0};
    s.passWriteMode = writeModes[random.below(9)];
    s.passWriteFlags = random.below(4);
    s.passWriteScale = random.in(0.2f, 1.5f);
    s.color = random.color();
    if (random.chance(0.5f)) s.transparency = random.color();
    if (random.chance(0.1f)) s.transparency.g = 1.0f;
    if (random.chance(0.05f)) s.transparency = {1, 1, 1, 1};
    if (random.chance(0.3f)) s.ambientColor = random.color();
    if (random.chance(0.3f)) s.translucence = random.in(0.1f, 1.0f);
    s.writePasses = random.chance(0.85f);
    s.compositeScalarA = random.in(0.0f, 0.5f);
    s.throughputBoost = random.in(0.5f, 2.0f);
    s.refractiveIndex = 1.0f;
    s.refractionsOn = random.chance(0.4f);
    s.diffuse = random.in(0.1f, 1.0f);
    if (random.chance(0.5f)) s.incandescence = random.color();
    s.translucenceForward = random.chance(0.5f) ? random.in(0.0f, 0.9f) : 0.0f;
    s.translucenceWrap = random.chance(0.5f) ? random.in(0.0f, 0.1f) : 0.0f;
    s.shadowTransmitAll = random.chance(0.3f);
    s.refractionLimit = 9;
    s.irradianceColor = random.color();
    s.refractionBlurSamples = 1;
    c.specularColor = random.color();
    const float size = random.chance(0.1f) ? 0.0f : random.in(0.3f, 1.0f);
    const float white = random.chance(0.3f) ? random.in(0.02f, 0.099f) : 1.0f;
    if (c.material == Material::Phong) c.specular[0] = random.in(1.0f, 30.0f);
    else if (c.material == Material::PhongE)
        std::copy_n(std::array{random.in(0.2f, 3.0f), size, white}.data(), 3, c.specular);
    else if (c.material == Material::Blinn)
        c.specular[0] = random.chance(0.1f) ? 1.0f : random.in(0.1f, 0.9f),
        c.specular[1] = random.in(0.0f, 1.0f);
    else c.specular[0] = random.in(0.2f, 0.9f), c.specular[1] = random.in(1.1f, 3.0f);
    if (c.material != Material::Anisotropic && random.chance(0.5f)) c.reflectivity = random.in(0.1f, 1.0f);
    // Facets and facing ratios are those of the side that is seen.
    c.twoSided = c.material <= Material::PhongE && random.chance(0.2f);
    c.renderMode = random.chance(0.6f) ? 0 : random.below(8);
    constexpr int rays[] = {miRAY_EYE, miRAY_EYE, miRAY_EYE, miRAY_REFLECT, miRAY_REFRACT};
    c.rayType = rays[random.below(5)];
    c.reflectionLevel = c.rayType == miRAY_EYE ? 0 : random.below(3);
    c.refractionLevel = c.rayType == miRAY_REFRACT ? 1 : 0;
    if (random.chance(0.05f)) c.rayType = random.chance(0.5f) ? miRAY_ENVIRONMENT : miRAY_SHADOW;
    const V3 normal = random.chance(0.5f) ? V3{0, 0, 1} : V3(random.direction());
    c.normal = normal.single();
    c.geometricNormal = unit(normal + V3(random.direction()) * 0.2).single();
    do c.rayDirection = random.direction();
    while (dot(normal, c.rayDirection) > -0.3);
    if (random.chance(0.15f)) {
        c.bumped = true; // some below the surface
        do c.bump = unit(normal + V3(random.direction()) * 2.0).single();
        while (dot(V3(c.bump), c.rayDirection) > -0.2);
    }
    c.throughput = random.color();
    c.throughputCutoff = random.chance(0.2f) ? random.in(0.0f, 0.3f) : -1.0f;
    c.gathered = random.color();
    c.records = randomRecords(random);
    for (RayCase* ray : {&c.reflected, &c.refracted}) {
        ray->color = random.color();
        for (std::size_t i = 0; i < c.records.size(); ++i) ray->handedUp.push_back(random.color());
    }
    const int lights = random.below(4);
    const V3 shading = c.bumped ? V3(c.bump) : normal;
    for (int i = 0; i < lights; ++i) c.lights.push_back(randomLight(random, shading, c.records.size()));
    return c;
}

} // namespace reference

// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaOcean.h"
#include "orcaOceanShading.h"
#include "orcaOceanTexture.h"
#include "orcaVector.h"

#include <cmath>

namespace {

TEST(OceanFoam, CoversColourOpacityAndMirrorImages) {
    const miColor water{0.1f, 0.2f, 0.3f, 0.7f}, white{0.9f, 0.8f, 0.6f, 1.0f};
    const struct {
        float foam, tint, keep, add;
    } cases[] = {{-1.0f, 0, 1, 0},        {0.0f, 0, 1, 0},          {0.2f, 0.2f, 1, 0},
                 {0.3f, 0.3f, 1, 0},      {0.7f, 0.5f, 0.8f, 0.4f}, {1.3f, 0.5f, 0.5f, 1.0f},
                 {9.0f, 0.5f, 0.0f, 1.0f}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.foam);
        for (const miInteger mode : {miInteger{OCEAN_FOAM_OPAQUE}, 0}) {
            miColor color = water, opacity{0.2f, 0.2f, 0.2f, 0.4f}, mirror = WHITE;
            oceanshader_apply_foam(c.foam, &WHITE, &white, &color, mode, &opacity, &mirror);
            expectColor(color, c.keep * (water + c.tint * white) + c.add * white);
            EXPECT_EQ(color.a, 0.7f);
            expectColor(opacity, mode == OCEAN_FOAM_OPAQUE ? (1.0f - 0.8f * c.keep) * WHITE : WHITE * 0.2f);
            expectColor(mirror, c.keep * WHITE);
        }
        oceanshader_apply_foam(c.foam, nullptr, nullptr, nullptr, OCEAN_FOAM_OPAQUE, nullptr, nullptr);
    }
}

TEST(OceanLight, ReflectsByFresnelsEquations) {
    // At Brewster's angle only light across the plane of incidence returns: ((n^2 - 1) / (n^2 + 1))^2 / 2.
    const double n = 1.333, brewster = 1.0 / std::sqrt(1.0 + n * n), across = (n * n - 1) / (n * n + 1);
    EXPECT_NEAR(oceanFresnel(static_cast<float>(brewster), 1.333f), 0.5 * across * across, 1e-6);
    EXPECT_NEAR(oceanFresnel(1.0f, 1.333f), std::pow(0.333 / 2.333, 2.0), 1e-6);
    EXPECT_EQ(oceanFresnel(-0.5f, 1.333f), 1.0f);
    EXPECT_EQ(oceanFresnel(0.5f, 1.0f / 1.333f), 1.0f); // total internal reflection
}

TEST(OceanLight, ComesThroughCrestsAboveTheCutoff) {
    ScriptedRenderer renderer;
    const miVector behind{0.0f, 0.0f, -1.0f}, ahead{0.0f, 0.0f, 1.0f}, aside{1.0f, 0.0f, 0.0f};
    const struct {
        float level;
        miVector toLight;
        float softness, expected;
    } cases[] = {{0.49f, behind, 0, 0}, {0.55f, behind, 0, 0.5f}, // a quarter up the range
                 {5, aside, 0, 2},      {5, behind, 0.75f, 2},    {5, aside, 0.75f, 0.25f}, // (1/2)^3
                 {5, ahead, 0.75f, 0}};
    for (const auto& c : cases)
        EXPECT_NEAR(compute_oceanshader_diffuse(&renderer.state, c.level, &c.toLight, 123.0f, 2.0f,
                                                c.softness, 0.5f, 0.2f, nullptr),
                    c.expected, 1e-4f);
}

TEST(OceanLight, HighlightIsStrongestInTheMirrorDirectionAndReducedForEyeRays) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    state.dir = normalized({1.0f, -1.0f, 0.0f});
    const miVector normal{0.0f, 1.0f, 0.0f};
    const auto strength = [&](const miVector& toLight, miRay_type type) {
        const miVector l = normalized(toLight);
        state.type = type;
        return compute_oceanshader_specular(dot(normal, l), -dot(normal, state.dir), &l, 0.5f, 0.2f, 0.25f,
                                            &normal, &state);
    };
    const float peak = strength({1.0f, 1.0f, 0.0f}, miRAY_REFLECT);
    // Head on for the facets: distribution 1, and nothing shadowed: 1 / N.V.
    EXPECT_NEAR(peak, 0.5f * std::sqrt(2.0f), 1e-4f);
    EXPECT_NEAR(strength({1.0f, 1.0f, 0.0f}, miRAY_EYE), 0.25f * peak, 1e-5f);
}

OceanShaderParameters calmSea() {
    auto p = plain<OceanShaderParameters>();
    p.color = {0.1f, 0.2f, 0.3f, 1.0f};
    p.transparency = {0.5f, 0.5f, 0.5f, 1.0f};
    p.diffuse = 1.0f;
    p.refractiveIndex = 1.333f;
    p.reflectivity = 1.0f;
    p.reflectionColor = WHITE;
    p.reflectionLimit = 4;
    p.patternScale = p.speedScale = p.filterScale = 1.0f;
    p.windVector = {1.0f, 0.5f, 0.0f};
    p.octaveCount = 3.0f;
    p.minWavelength = 1.0f;
    p.maxWavelength = 5.0f;
    p.n_heightRamp = p.n_turbulenceRamp = 1;
    p.heightRamp[0] = {0.0f, 0.6f, RAMP_LINEAR};
    p.turbulenceRamp[0] = {0.0f, 0.5f, RAMP_LINEAR};
    p.normalBlur = 0.001f;
    p.foamColor = WHITE;
    return p;
}

/// The material seen from above.
class OceanMaterial : public ::testing::Test {
protected:
    OceanMaterial() {
        state.normal = state.normal_geom = {0.0f, 1.0f, 0.0f};
        state.dir = {0.0f, -1.0f, 0.0f};
        state.dot_nd = -1.0f;
        scene.vela().filterEnabled = miFALSE;
    }
    /// Waves at world (x, z), from a plane.
    float wavesAt(float x, float z, float* foam = nullptr, miVector* normal = nullptr) {
        const Restored<miVector> point(state.point);
        state.point = {x, 0.0f, z};
        float height = -1.0f;
        EXPECT_EQ(oceanshader_compute_texture(&height, foam, normal, &state, &p), height);
        return height;
    }

    MaterialScene scene{{{PASS_BEAUTY, "beauty"}}};
    miState& state = scene.renderer.state;
    MaterialInstance<OceanShaderParameters, OceanShaderReturnType> ocean{
        scene, MATERIAL_ENTRY(orcaVelaOceanShader), calmSea()};
    OceanShaderParameters& p = ocean.shader.parameters;
};

TEST_F(OceanMaterial, NormalsFollowTheHeight) {
    constexpr float step = 1e-2f;
    p.normalBlur = step;
    p.heightInput = 2.0f; // a constant, which changes no slope
    for (const float octaves : {3.0f, 0.0f})
        for (const float x : {-3.0f, 0.2f, 7.7f})
            for (const float z : {-5.0f, 1.1f}) {
                p.octaveCount = octaves;
                miVector normal{0.0f, 1.0f, 0.0f};
                float foam = -1.0f;
                const float height = wavesAt(x, z, &foam, &normal);
                const float dx = (wavesAt(x + step, z) - wavesAt(x - step, z)) / (2.0f * step);
                const float dz = (wavesAt(x, z + step) - wavesAt(x, z - step)) / (2.0f * step);
                EXPECT_NEAR(length(normal), 1.0f, 1e-5f);
                // One-sided differences over a curved surface.
                EXPECT_NEAR(-normal.x / normal.y, dx, octaves > 0.0f ? 0.05f : 0.0f);
                EXPECT_NEAR(-normal.z / normal.y, dz, octaves > 0.0f ? 0.05f : 0.0f);
                EXPECT_EQ(foam, 0.0f);
                EXPECT_EQ(height == 2.0f, octaves == 0.0f);
            }
}

TEST_F(OceanMaterial, FoamBiasMayLeaveLessThanNoFoamAndCloseTheWater) {
    scene.addLight({0.0f, 1.0f, 0.0f});
    p.foamBias = -0.25f;
    state.type = miRAY_DISPLACE; // nothing but the height
    const OceanShaderReturnType raised = ocean.shade();
    EXPECT_EQ(raised.color.r + raised.foam, 0.0f);
    state.type = miRAY_EYE;
    const OceanShaderReturnType bare = ocean.shade();
    EXPECT_NEAR(raised.displacement, bare.displacement, 1e-4f);
    EXPECT_EQ(bare.foam, -0.25f);
    expectColor(bare.transparency, p.transparency);
    p.foamBias = 3.0f; // closed foam: all that is left is its diffuse white
    const OceanShaderReturnType foamy = ocean.shade();
    EXPECT_NEAR(foamy.diffuse.r, foamy.diffuse.b, 1e-5f);
    EXPECT_GT(foamy.diffuse.r, 0.8f);
    EXPECT_EQ(foamy.specular.r, 0.0f);
    expectColor(foamy.transparency, BLACK);
}

TEST_F(OceanMaterial, ReflectsByTheIndexOnTheSideThatItIsSeenFrom) {
    p.octaveCount = 0.0f;
    scene.renderer.traceReflection = [](miColor* c, miState*, miVector*) -> miBoolean {
        *c = WHITE;
        return miTRUE;
    };
    for (const bool below : {false, true})
        for (const float slant : {0.3f, 0.9f}) {
            state.inv_normal = below;
            state.dir = {slant, -std::sqrt(1.0f - slant * slant), 0.0f};
            EXPECT_NEAR(ocean.shade().reflection.g,
                        oceanFresnel(-state.dir.y, below ? 1.0f / 1.333f : 1.333f), 1e-4f);
        }
}

} // namespace

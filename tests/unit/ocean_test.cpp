// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaOcean.h"
#include "orcaOceanShading.h"
#include "orcaOceanTexture.h"
#include "orcaOceanWaves.h"
#include "orcaVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

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
        miColor color = water, opacity{0.2f, 0.2f, 0.2f, 0.4f}, mirror = WHITE;
        oceanshader_apply_foam(c.foam, &WHITE, &white, &color, OCEAN_FOAM_OPAQUE, &opacity, &mirror);
        expectColor(color, c.keep * (water + c.tint * white) + c.add * white);
        EXPECT_EQ(color.a, 0.7f);
        expectColor(opacity, (1.0f - 0.8f * c.keep) * WHITE);
        expectColor(mirror, c.keep * WHITE);
        oceanshader_apply_foam(c.foam, nullptr, nullptr, nullptr, OCEAN_FOAM_OPAQUE, nullptr, nullptr);
        miColor untouched{0.2f, 0.2f, 0.2f, 1.0f};
        oceanshader_apply_foam(c.foam, &WHITE, &white, nullptr, 0, &untouched, nullptr);
        EXPECT_EQ(untouched.r, 0.2f);
    }
}

TEST(OceanLight, ReflectsByFresnelsEquations) {
    EXPECT_NEAR(oceanFresnel(1.0f, 1.333f), std::pow(0.333 / 2.333, 2.0), 1e-6);
    EXPECT_NEAR(oceanFresnel(0.0f, 1.333f), 1.0f, 1e-6f);
    EXPECT_EQ(oceanFresnel(-0.5f, 1.333f), oceanFresnel(0.0f, 1.333f));
    // At Brewster's angle only light across the plane of incidence returns: ((n^2 - 1) / (n^2 + 1))^2 / 2.
    const double n = 1.333, brewster = 1.0 / std::sqrt(1.0 + n * n);
    EXPECT_NEAR(oceanFresnel(static_cast<float>(brewster), 1.333f),
                0.5 * std::pow((n * n - 1) / (n * n + 1), 2.0), 1e-6);
    EXPECT_EQ(oceanFresnel(0.5f, 1.0f / 1.333f), 1.0f); // total internal reflection
}

TEST(OceanLight, ComesThroughCrestsAboveTheCutoff) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    state.dir = {0.0f, 0.0f, -1.0f};
    const auto through = [&](float level, const miVector& toLight, float softness) {
        return compute_oceanshader_diffuse(&state, level, &toLight, 123.0f, 2.0f, softness, 0.5f, 0.2f,
                                           nullptr);
    };
    const miVector behind{0.0f, 0.0f, -1.0f}, ahead{0.0f, 0.0f, 1.0f}, aside{1.0f, 0.0f, 0.0f};
    EXPECT_EQ(through(0.49f, behind, 0.0f), 0.0f);
    EXPECT_NEAR(through(0.55f, behind, 0.0f), 0.5f, 1e-5f); // a quarter up the range
    EXPECT_EQ(through(5.0f, aside, 0.0f), 2.0f);
    EXPECT_NEAR(through(5.0f, behind, 0.75f), 2.0f, 1e-4f);
    EXPECT_NEAR(through(5.0f, aside, 0.75f), 0.25f, 1e-4f); // (1/2)^3
    EXPECT_EQ(through(5.0f, ahead, 0.75f), 0.0f);
}

TEST(OceanLight, HighlightIsStrongestInTheMirrorDirectionAndReducedForEyeRays) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    state.dir = normalized({1.0f, -1.0f, 0.0f});
    const miVector normal{0.0f, 1.0f, 0.0f};
    const auto strength = [&](const miVector& toLight) {
        const miVector l = normalized(toLight);
        return compute_oceanshader_specular(dot(normal, l), -dot(normal, state.dir), &l, 0.5f, 0.2f, 0.25f,
                                            &normal, &state);
    };
    state.type = miRAY_REFLECT;
    const float peak = strength({1.0f, 1.0f, 0.0f});
    // Head on for the facets: distribution 1, and nothing shadowed: 1 / N.V.
    EXPECT_NEAR(peak, 0.5f * std::sqrt(2.0f), 1e-4f);
    EXPECT_LT(strength({1.0f, 2.5f, 0.0f}), 0.5f * peak);
    state.type = miRAY_EYE;
    EXPECT_NEAR(strength({1.0f, 1.0f, 0.0f}), 0.25f * peak, 1e-5f);
}

/// The material on the hit of a scene with passes.
class OceanMaterial : public ::testing::Test {
protected:
    static OceanShaderParameters parameters() {
        OceanShaderParameters p{};
        static_cast<SurfaceParameters&>(p) = plainLambert();
        p.color = {0.1f, 0.2f, 0.3f, 1.0f};
        p.diffuse = 1.0f;
        p.refractiveIndex = 1.333f;
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
    struct Instance {
        Instance(MaterialScene& inScene, const OceanShaderParameters& values)
            : scene(inScene), shader(values) {
            miState& state = scene.renderer.state;
            state.normal = state.normal_geom = {0.0f, 1.0f, 0.0f};
            state.dir = {0.0f, -1.0f, 0.0f};
            state.dot_nd = -1.0f;
            state.shader = &shader.function;
            miBoolean required = miFALSE;
            orcaVelaOceanShader_init(&scene.renderer.state, &shader.parameters, &required);
        }
        ~Instance() { orcaVelaOceanShader_exit(&scene.renderer.state, &shader.parameters); }
        OceanShaderReturnType shade() {
            OceanShaderReturnType result{};
            EXPECT_TRUE(orcaVelaOceanShader(&result, &scene.renderer.state, &shader.parameters));
            return result;
        }
        MaterialScene& scene;
        ScriptedShader<OceanShaderParameters> shader;
    };
    /// Height at world (x, z).
    static float heightAt(Instance& ocean, float x, float z) {
        miState& state = ocean.scene.renderer.state;
        const miVector before = state.point;
        state.point = {x, 0.0f, z};
        const float height =
            oceanshader_compute_texture(nullptr, nullptr, nullptr, &state, &ocean.shader.parameters);
        state.point = before;
        return height;
    }
};

TEST_F(OceanMaterial, NormalsFollowTheHeight) {
    MaterialScene scene(std::vector<ScenePass>{});
    Instance ocean(scene, parameters());
    miState& state = scene.renderer.state;
    scene.vela().filterEnabled = miFALSE;
    scene.vela().fixedFilterSize = 0.0f;
    constexpr float step = 1e-2f;
    for (const float x : {-3.0f, 0.2f, 7.7f})
        for (const float z : {-5.0f, 1.1f}) {
            miVector normal{0.0f, 1.0f, 0.0f};
            state.point = {x, 0.0f, z};
            float foam = -1.0f, height = 0.0f;
            ocean.shader.parameters.normalBlur = step;
            EXPECT_EQ(oceanshader_compute_texture(&height, &foam, &normal, &state, &ocean.shader.parameters),
                      height);
            const float dx = (heightAt(ocean, x + step, z) - heightAt(ocean, x - step, z)) / (2.0f * step);
            const float dz = (heightAt(ocean, x, z + step) - heightAt(ocean, x, z - step)) / (2.0f * step);
            EXPECT_NEAR(length(normal), 1.0f, 1e-5f);
            EXPECT_NEAR(-normal.x / normal.y, dx, 0.05f); // one-sided differences over a curved surface
            EXPECT_NEAR(-normal.z / normal.y, dz, 0.05f);
            EXPECT_EQ(foam, 0.0f);
        }
}

TEST_F(OceanMaterial, AnswersDisplacementCallsWithTheHeightAlone) {
    MaterialScene scene(std::vector<ScenePass>{{PASS_BEAUTY, "beauty"}});
    scene.addLight({0.0f, 1.0f, 0.0f});
    OceanShaderParameters p = parameters();
    p.heightInput = 10.0f;
    Instance ocean(scene, p);
    const float height = heightAt(ocean, 0.0f, 0.0f);
    EXPECT_GT(height, 9.0f);
    for (const int type : {static_cast<int>(miRAY_DISPLACE), miRAY_MRFM_DISPLACE}) {
        scene.renderer.state.type = static_cast<miRay_type>(type);
        const OceanShaderReturnType result = ocean.shade();
        EXPECT_EQ(result.displacement, height);
        EXPECT_EQ(result.color.r, 0.0f);
    }
    scene.renderer.state.type = miRAY_EYE;
    EXPECT_NEAR(ocean.shade().displacement, height, 1e-4f);
}

TEST_F(OceanMaterial, FoamBiasMayLeaveLessThanNoFoam) {
    MaterialScene scene(std::vector<ScenePass>{});
    OceanShaderParameters p = parameters();
    p.foamBias = -0.25f;
    Instance ocean(scene, p);
    EXPECT_EQ(ocean.shade().foam, -0.25f);
    ocean.shader.parameters.foamBias = 3.0f; // closed foam: all that is left is its diffuse white
    scene.addLight({0.0f, 1.0f, 0.0f});
    const OceanShaderReturnType foamy = ocean.shade();
    EXPECT_NEAR(foamy.diffuse.r, foamy.diffuse.b, 1e-5f);
    EXPECT_GT(foamy.diffuse.r, 0.8f);
    EXPECT_EQ(foamy.specular.r, 0.0f);
}

TEST_F(OceanMaterial, FlatWaterIsAPlaneWithoutOctaves) {
    MaterialScene scene(std::vector<ScenePass>{});
    OceanShaderParameters p = parameters();
    p.octaveCount = 0.0f;
    p.foamBias = 0.5f;
    Instance ocean(scene, p);
    miVector normal{0.0f, 1.0f, 0.0f};
    float height = 1.0f, foam = 1.0f;
    oceanshader_compute_texture(&height, &foam, &normal, &scene.renderer.state, &ocean.shader.parameters);
    EXPECT_EQ(height, 0.0f);
    EXPECT_EQ(foam, 0.5f);
    EXPECT_EQ(normal.y, 1.0f);
}

} // namespace

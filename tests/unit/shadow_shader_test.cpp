// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaVelaShadow.h"

#include <cmath>

namespace {

/// An occluder met by a shadow ray; records 0 (shadowed) and 1 (shadowed) receive the light.
class ShadowShader : public ::testing::Test {
protected:
    ShadowShader() : scene({{PASS_DIFFUSE, "a", FB_SHADOWED}, {PASS_SPECULAR, "b", FB_SHADOWED}}) {
        state = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
        state.dist = 1.0;
        state.volume = 3;
        state.shader = &shader.function;
        for (int i : {0, 1}) {
            scene.record(i).flags |= FB_LIGHT_CONTRIBUTES;
            scene.record(i).shadowTransmission = WHITE;
        }
    }
    miBoolean run(void* argument = nullptr) {
        const miBoolean light = orcaVelaShadow(&result, &state, &shader.parameters, argument);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        return light;
    }
    miColor passing(int record) { return scene.record(record).shadowTransmission; }

    MaterialScene scene;
    ScriptedShader<VelaShadowParameters> shader;
    miState state;
    miColor result = WHITE;
};

TEST_F(ShadowShader, FastBlocksAllButPassesThatExcludeTheOccluder) {
    EXPECT_EQ(orcaVelaFastShadow(&result, &state), miFALSE);
    EXPECT_EQ(result, BLACK);
    expectColor(passing(0), BLACK);

    scene.record(0).shadowTransmission = scene.record(1).shadowTransmission = WHITE;
    state.instance = scene.renderer.database.addMaskedInstance("1");
    EXPECT_EQ(orcaVelaFastShadow(&result, &state), miTRUE);
    EXPECT_EQ(result, BLACK);
    EXPECT_EQ(passing(0), BLACK);
    EXPECT_EQ(passing(1), WHITE);
}

TEST_F(ShadowShader, FastBlocksWithoutPasses) {
    scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 2);
    EXPECT_EQ(orcaVelaFastShadow(&result, &state), miFALSE);
    EXPECT_EQ(result, BLACK);
}

TEST_F(ShadowShader, ColoursLightInPictureAndPasses) {
    shader.parameters.transparency = {0.5f, 0.25f, 1.0f, 1.0f};
    result = {1.0f, 1.0f, 0.5f, 1.0f};
    EXPECT_EQ(run(), miTRUE);
    expectColor(result, 0.5f, 0.25f, 0.5f);
    expectColor(passing(0), 0.5f, 0.25f, 1.0f);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_shadow_seg"), 0);
}

TEST_F(ShadowShader, GoesOnForAPassThatStillSeesLight) {
    state.instance = scene.renderer.database.addMaskedInstance("2");
    EXPECT_EQ(run(), miTRUE);
    EXPECT_EQ(result, BLACK);
    EXPECT_EQ(passing(0), WHITE);
    expectColor(passing(1), BLACK);
}

struct GrazingCase {
    float cosine, attenuation, expected;
};
class ShadowAttenuation : public ShadowShader, public ::testing::WithParamInterface<GrazingCase> {};

TEST_P(ShadowAttenuation, DimsTowardGrazingAngles) {
    const auto& c = GetParam();
    shader.parameters.transparency = WHITE;
    shader.parameters.attenuation = c.attenuation;
    state.normal = {std::sqrt(1.0f - c.cosine * c.cosine), 0.0f, c.cosine};
    run();
    expectColor(result, c.expected, c.expected, c.expected);
}
INSTANTIATE_TEST_SUITE_P(Angles, ShadowAttenuation,
                         ::testing::Values(GrazingCase{1.0f, 1.0f, 1.0f}, GrazingCase{0.0f, 1.0f, 0.0f},
                                           GrazingCase{0.5f, 0.5f, 0.75f}, GrazingCase{0.0f, 3.0f, 0.0f},
                                           GrazingCase{0.0f, 0.0f, 1.0f}));

struct SegmentCase {
    float cosine;
    double distance;
    float expected;
};
class ShadowSegment : public ShadowShader, public ::testing::WithParamInterface<SegmentCase> {};

TEST_P(ShadowSegment, LetsThinPartsThrough) {
    scene.renderer.options.shadow = miSHADOW_SEGMENTS;
    shader.parameters.transparencyDepth = 2.0f;
    state.dot_nd = GetParam().cosine;
    state.dist = GetParam().distance;
    EXPECT_EQ(run(), GetParam().expected > 0.0f);
    expectColor(result, GetParam().expected, GetParam().expected, GetParam().expected);
    EXPECT_EQ(state.dot_nd, GetParam().cosine);
}
INSTANTIATE_TEST_SUITE_P(Thickness, ShadowSegment,
                         ::testing::Values(SegmentCase{-1.0f, 1.0, 0.5f}, SegmentCase{-1.0f, 2.0, 0.0f},
                                           SegmentCase{-1.0f, 0.5, 0.75f}, SegmentCase{1.0f, 1.0, 0.0f}));

TEST_F(ShadowShader, LimitsTransmissionOnlyWhereItsDepthCounts) {
    scene.renderer.options.shadow = miSHADOW_SEGMENTS;
    shader.parameters.transparency = WHITE * 1.5f;
    const struct {
        float depth, cosine, expected;
    } cases[] = {{2.0f, -1.0f, 1.0f}, {2.0f, 1.0f, 1.5f}, {0.0f, -1.0f, 1.5f}, {0.5f, -1.0f, 1.0f}};
    for (const auto& c : cases) {
        shader.parameters.transparencyDepth = c.depth;
        state.dot_nd = c.cosine;
        result = WHITE;
        run();
        expectColor(result, c.expected, c.expected, c.expected);
    }
}

TEST_F(ShadowShader, WalksSegmentsUnlessItsCallerDoes) {
    scene.renderer.options.shadow = miSHADOW_SEGMENTS;
    shader.parameters.transparency = WHITE * 0.5f;
    scene.renderer.traceShadowSegment = [&](miColor* c, miState* s) -> miBoolean {
        EXPECT_EQ(s->refraction_volume, 3u);
        *c = *c * 0.5f;
        return miTRUE;
    };
    run();
    expectColor(result, 0.25f, 0.25f, 0.25f);
    result = WHITE;
    int caller = 0;
    run(&caller);
    expectColor(result, 0.5f, 0.5f, 0.5f);
}

TEST_F(ShadowShader, LeavesTheRecordsAloneWithoutAHit) {
    scene.renderer.options.shadow = miSHADOW_SEGMENTS;
    state.dist = 0.0;
    state.refraction_volume = 9;
    EXPECT_EQ(run(), miTRUE);
    EXPECT_EQ(state.refraction_volume, miNULLTAG);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_shadow_seg"), 1);
    EXPECT_EQ(passing(0), WHITE);
    result = BLACK;
    EXPECT_EQ(run(), miFALSE);
}

TEST_F(ShadowShader, LooksTexturesUpSharp) {
    scene.vela().footprint = {{1, 1, 1}, {2, 2, 2}};
    shader.connect(&shader.parameters.transparency);
    scene.renderer.evaluate = [&](miState*, void*) -> void* {
        EXPECT_EQ(scene.vela().footprint.screen.x, 1e-8f);
        EXPECT_EQ(scene.vela().footprint.texture.z, 0.0f);
        static miColor half = WHITE * 0.5f;
        return &half;
    };
    run();
    expectColor(result, 0.5f, 0.5f, 0.5f);
    EXPECT_EQ(scene.vela().footprint.texture.x, 2.0f);
}

} // namespace

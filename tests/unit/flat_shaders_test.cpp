// SPDX-License-Identifier: Apache-2.0
/// Surface shader and shading map, which replace the picture of what is connected to them.
#include "material_scene.h"
#include "orcaShadingMap.h"
#include "orcaSurfaceShader.h"

namespace {

constexpr miColor mark{-1000000.0f, -1000000.0f, -1000000.0f, 0.0f};

struct FlatShaders : ::testing::Test {
    MaterialScene scene{
        {{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_DIFFUSE, "5"}, {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}}};
    enum { Beauty, Diffuse, NoReflection };
};

constexpr MaterialEntry<SurfaceShaderParameters> surfaceShader = MATERIAL_ENTRY(orcaVelaSurfaceShader);

class SurfaceShader : public FlatShaders {
protected:
    static miColor colour(int i) {
        const float v = 0.01f * static_cast<float>(i);
        return {v + 0.1f, v + 0.2f, v + 0.3f, v + 0.4f};
    }
    static SurfaceShaderParameters sixteenColours() {
        SurfaceShaderParameters p{};
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        for (int i = 0; i < 16; ++i) (&p.color)[i] = colour(i);
        return p;
    }
    MaterialInstance<SurfaceShaderParameters> instance{scene, surfaceShader, sixteenColours()};
};

TEST_F(SurfaceShader, HandsSixteenColoursToTheirSlotsAndThePictureToThePasses) {
    const miColor computed{0.9f, 0.8f, 0.7f, 0.6f};
    instance.connect(&instance.shader.parameters.translucence, [&](miState*) { return computed; });
    const SurfaceShaderReturnType result = instance.shade();
    for (int i = 0; i < 16; ++i) EXPECT_EQ((&result.color)[i], i == 14 ? computed : colour(i)) << i;
    expectColor(scene.level(PASS_BEAUTY), colour(0));
    EXPECT_EQ(scene.level(PASS_BEAUTY).a, 1.0f);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), colour(0));
    EXPECT_EQ(scene.level(PASS_DIFFUSE), BLACK);
}

TEST_F(SurfaceShader, CountsAMaterialBehindSeveralColoursOnceWherePassesAddUp) {
    const miColor shaded{0.3f, 0.6f, 0.2f, 1};
    miState ray = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
    auto& p = instance.shader.parameters;
    for (const bool additive : {false, true}) {
        scene.vela().additivePasses = additive;
        scene.clear();
        EXPECT_EQ(instance.shade(&ray).transparency, p.transparency);
        expectColor(scene.level(PASS_BEAUTY), additive ? BLACK : colour(0));
    }
    for (miColor* member : {&p.color, &p.glowColor, &p.diffuse})
        instance.connect(member, [&](miState*) {
            scene.slot(Beauty).levelResult += shaded;
            scene.slot(Diffuse).levelResult += shaded;
            return shaded;
        });
    for (const bool additive : {false, true}) {
        scene.vela().additivePasses = additive;
        scene.clear();
        instance.shade();
        expectColor(scene.level(PASS_BEAUTY), additive ? shaded : shaded * 4.0f);
        expectColor(scene.level(PASS_DIFFUSE), additive ? shaded : shaded * 3.0f);
    }
}

constexpr MaterialEntry<ShadingMapParameters> shadingMap = MATERIAL_ENTRY(orcaVelaShadingMap);

class ShadingMap : public FlatShaders {
protected:
    ShadingMap() {
        scene.renderer.state.tex_list = &coordinate;
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        p.inputColor = {0.2f, 0.8f, 0.5f, 1}; // hue 0.41667, saturation 0.75, value 0.8
        p.inputTransparency = {0.25f, 0.5f, 0.0f, 1};
        p.matteMode = 2;
        p.matteOpacity = 0.5f;
        p.glowColor = {0.1f, 0.2f, 0.3f, 1};
    }
    SurfaceShaderReturnType shade(miRay_type type = miRAY_EYE, const SurfaceShaderReturnType& before = {}) {
        scene.clear();
        miState state = scene.renderer.derived(scene.renderer.state, type);
        return MaterialInstance<ShadingMapParameters>(scene, shadingMap, p).shade(&state, before);
    }
    ShadingMapParameters p{};
    miVector coordinate{0.7f, 0.6f, 0.5f};
};

TEST_F(ShadingMap, IsIndexedByTheChannelsThatTheSelectorsName) {
    // A selector below 0 is no channel of the HSV colour, and the mean all the same.
    const float channels[] = {0.5f, 0.4166667f, 0.75f, 0.8f, 0.2f, 0.8f, 0.5f, 0.5f};
    for (p.uChannel = -1; p.uChannel < 7; ++p.uChannel)
        for (p.vChannel = -1; p.vChannel < 7; ++p.vChannel) {
            MaterialInstance<ShadingMapParameters> instance(scene, shadingMap, p);
            // The map shows where it is looked up.
            instance.connect(&instance.shader.parameters.mapColor, [](miState* state) {
                const miVector& at = state->tex_list[0];
                return miColor{at.x, at.y, at.z, 1};
            });
            scene.renderer.calls.clear();
            scene.clear();
            const auto result = instance.shade();
            expectColor(result.color, channels[p.uChannel + 1], channels[p.vChannel + 1], 0.0f);
            expectColor(scene.level(PASS_BEAUTY), result.color);
            EXPECT_EQ(scene.renderer.callCount("mi_flush_cache"), 2);
            EXPECT_EQ(coordinate.x + coordinate.y + coordinate.z, 0.7f + 0.6f + 0.5f);
        }
    scene.vela().keepEvaluations = miTRUE;
    shade();
    EXPECT_EQ(scene.renderer.callCount("mi_flush_cache"), 2);
}

TEST_F(ShadingMap, PassesTransparencyAndGlowOnAndLeavesTheModesMatte) {
    SurfaceShaderReturnType before{};
    before.color = before.glowColor = {7, 7, 7, 7};
    for (const int mode : {0, 1, 2}) {
        SCOPED_TRACE(mode);
        p.matteMode = mode;
        auto result = shade(miRAY_SHADOW, before);
        EXPECT_EQ(result.transparency, mode ? p.inputTransparency : BLACK);
        EXPECT_EQ(result.color, BLACK);
        EXPECT_EQ(result.matteOpacity, BLACK);
        EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
        p.mapColor = {0.9f, 0.1f, 0.0f, 1};
        result = shade();
        EXPECT_EQ(result.transparency, mode ? p.inputTransparency : BLACK);
        EXPECT_EQ(result.glowColor, mode ? p.glowColor : BLACK);
        EXPECT_EQ(result.color, mode ? p.mapColor : BLACK);
        EXPECT_EQ(scene.level(PASS_BEAUTY), result.color);
        const miColor mattes[] = {mark, WHITE * 0.5f, (WHITE - p.inputTransparency) * 0.5f};
        expectColor(result.matteOpacity, mattes[mode]);
    }
}

TEST_F(ShadingMap, ReplacesTheInputsPictureAndNotItsComponentsWherePassesAddUp) {
    scene.vela().additivePasses = miTRUE;
    p.mapColor = {0.9f, 0.1f, 0.0f, 1};
    MaterialInstance<ShadingMapParameters> instance(scene, shadingMap, p);
    instance.connect(&instance.shader.parameters.inputColor, [&](miState*) {
        scene.slot(Beauty).levelResult += WHITE;
        scene.slot(Diffuse).levelResult += WHITE * 0.5f;
        return WHITE;
    });
    instance.shade();
    expectColor(scene.level(PASS_BEAUTY), p.mapColor);
    expectColor(scene.level(PASS_DIFFUSE), 0.5f, 0.5f, 0.5f);
}

} // namespace

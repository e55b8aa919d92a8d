// SPDX-License-Identifier: Apache-2.0
#include "orcaUseBackground.h"

#include "material_scene.h"

namespace {

constexpr MaterialEntry<UseBackgroundParameters> useBackground = MATERIAL_ENTRY(orcaVelaUseBackground);
constexpr miTag sky = 41;

/// A stand-in before a plate, the environment, under lights that each test adds.
class UseBackground : public ::testing::Test {
protected:
    UseBackground() {
        scene.renderer.camera.environment = sky;
        scene.renderer.callShader = [this](miColor* result, int type, miState*, miTag tag,
                                           void*) -> miBoolean {
            EXPECT_EQ(type, miSHADER_ENVIRONMENT);
            EXPECT_EQ(tag, sky);
            *result = plate;
            return miTRUE;
        };
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        p.specularColor = {1.0f, 0.5f, 0.25f, 1};
        p.reflectivity = 0.5f;
        p.reflectionLimit = 4;
        p.shadowMask = 1.0f;
        p.matteMode = 2;
        p.matteOpacity = 0.25f;
        p.shadowBuffer = 0;
        scene.renderer.traceReflection = [](miColor* c, miState*, miVector*) -> miBoolean {
            *c = WHITE; // meets nothing
            return miTRUE;
        };
    }
    SurfaceShaderReturnType shade() { return shade(&scene.renderer.state); }
    SurfaceShaderReturnType shade(miState* state) {
        scene.clear();
        return MaterialInstance<UseBackgroundParameters>(scene, useBackground, p).shade(state);
    }
    void expectPasses(const miColor& beauty, const miColor& shadow) {
        expectColor(scene.level(PASS_BEAUTY), beauty);
        expectColor(scene.level(PASS_REFLECTION), BLACK);
        expectColor(scene.level(PASS_CUSTOM), shadow);
    }

    MaterialScene scene{{{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_REFLECTION, "19"}, {PASS_CUSTOM, "30"}}};
    UseBackgroundParameters p{};
    const miColor plate{0.6f, 0.5f, 0.3f, 1};
};

TEST_F(UseBackground, ShowsThePlateWhereNothingFallsOnIt) {
    expectColor(shade().color, plate, 1e-6f); // no light at all
    scene.addLight({0, 0, 1}, {2, 1, 0.5f, 1});
    ScriptedLight foreign; // whose shadows are not known
    foreign.instance = scene.renderer.database.addInstance();
    foreign.color = {0.25f, 0.5f, 4, 1};
    scene.renderer.lights.push_back(foreign);
    const auto result = shade();
    expectColor(result.color, plate, 1e-6f);
    EXPECT_EQ(result.transparency, BLACK);
    EXPECT_EQ(result.glowColor, BLACK);
    expectColor(result.matteOpacity, WHITE * 0.25f);
    expectPasses(plate, BLACK); // the surroundings that reflections show are in the plate
}

TEST_F(UseBackground, IsDarkenedByTheShareOfLightThatShadowsTake) {
    scene.addLight({0, 0, 1}, {2, 1, 1, 1}, {0.5f, 1, 0, 1});
    scene.addLight({0, 0.8f, 0.6f}, WHITE);
    scene.addLight({0, 1, -1}, WHITE, BLACK); // shines on the back
    p.ambientColor = {0.4f, 0.4f, 0.4f, 1};
    const miColor left{(0.5f + 0.6f + 0.4f) / (2 + 0.6f + 0.4f), 1.0f, (0.6f + 0.4f) / (1 + 0.6f + 0.4f), 1};
    expectColor(shade().color, plate * left);
    expectPasses(plate * left, WHITE - left);
    for (p.shadowMask = 0.0f; p.shadowMask < 1.0f; p.shadowMask += 0.5f)
        expectColor(shade().color, plate * (WHITE - (WHITE - left) * p.shadowMask));
}

TEST_F(UseBackground, HonoursTheMatteModes) {
    p.matteMode = 1;
    expectColor(shade().matteOpacity, 0.25f, 0.25f, 0.25f);
    miState light = scene.renderer.derived(scene.renderer.state, miRAY_LIGHT);
    miState ray = scene.renderer.derived(light, miRAY_SHADOW);
    EXPECT_EQ(shade(&ray).transparency, BLACK);
    scene.vela().plateState = &scene.renderer.state; // light on its way to another stand-in
    EXPECT_EQ(shade(&ray).transparency, WHITE);
    p.matteMode = 0;
    EXPECT_EQ(shade(&ray).transparency, BLACK);
    const auto hole = shade();
    EXPECT_EQ(hole.matteOpacity, (miColor{-1000000.0f, -1000000.0f, -1000000.0f, 0.0f}));
    EXPECT_EQ(hole.color, BLACK);
    EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "flat_material_scene.h"
#include "orcaImagePlane.h"
#include "orcaLayeredShader.h"
#include "orcaShadingMap.h"
#include "orcaSurfaceShader.h"
#include "orcaUseBackground.h"

namespace {

constexpr miColor mark{-1000000.0f, -1000000.0f, -1000000.0f, 0.0f};

const std::vector<ScenePass> picturePasses{{PASS_BEAUTY, "0", FB_SHADOWED},
                                           {PASS_DIFFUSE, "5"},
                                           {PASS_REFLECTION, "19"},
                                           {PASS_CUSTOM, "30"},
                                           {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}};
enum { Beauty, Diffuse, Reflection, Custom, NoReflection };

// --- surface shader
// ---------------------------------------------------------------------------------------------------

constexpr MaterialEntry<SurfaceShaderParameters> surfaceShader{
    orcaVelaSurfaceShader_init, orcaVelaSurfaceShader_exit, orcaVelaSurfaceShader};

SurfaceShaderParameters sixteenColours() {
    SurfaceShaderParameters p{};
    p.passWriteMode = 1;
    p.passWriteScale = 1.0f;
    miColor* const colours = &p.color;
    for (int i = 0; i < 16; ++i) {
        const float v = 0.01f * static_cast<float>(i);
        colours[i] = {v + 0.1f, v + 0.2f, v + 0.3f, v + 0.4f};
    }
    return p;
}

TEST(SurfaceShader, HandsSixteenColoursToTheirSlots) {
    MaterialScene scene(picturePasses);
    MaterialInstance<SurfaceShaderParameters> instance(scene, surfaceShader, sixteenColours());
    const miColor computed{0.9f, 0.8f, 0.7f, 0.6f};
    instance.connect(&instance.shader.parameters.translucence, [&](miState*) { return computed; });
    const SurfaceShaderReturnType result = instance.shade();
    const auto* const colours = &instance.shader.parameters.color;
    const auto* const slots = &result.color;
    for (int i = 0; i < 16; ++i) EXPECT_EQ(slots[i], i == 14 ? computed : colours[i]) << i;
    expectColor(scene.level(PASS_BEAUTY), colours[0]);
    EXPECT_EQ(scene.level(PASS_BEAUTY).a, 1.0f);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), colours[0]);
    EXPECT_EQ(scene.level(PASS_DIFFUSE), BLACK);
}

TEST(SurfaceShader, CountsAMaterialBehindSeveralColoursOnceWherePassesAddUp) {
    for (const bool additive : {false, true}) {
        MaterialScene scene(picturePasses);
        scene.vela().additivePasses = additive;
        MaterialInstance<SurfaceShaderParameters> instance(scene, surfaceShader, sixteenColours());
        auto& p = instance.shader.parameters;
        const miColor shaded{0.3f, 0.6f, 0.2f, 1};
        for (miColor* member : {&p.color, &p.glowColor, &p.diffuse})
            instance.connect(member, [&](miState*) {
                scene.slot(Beauty).levelResult += shaded;
                scene.slot(Diffuse).levelResult += shaded;
                return shaded;
            });
        instance.shade();
        expectColor(scene.level(PASS_BEAUTY), additive ? shaded : shaded * 4.0f);
        expectColor(scene.level(PASS_DIFFUSE), additive ? shaded : shaded * 3.0f);
    }
}

TEST(SurfaceShader, WritesOnShadowRaysUnlessPassesAddUp) {
    for (const bool additive : {false, true}) {
        MaterialScene scene(picturePasses);
        scene.vela().additivePasses = additive;
        MaterialInstance<SurfaceShaderParameters> instance(scene, surfaceShader, sixteenColours());
        miState ray = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
        EXPECT_EQ(instance.shade(&ray).transparency, instance.shader.parameters.transparency);
        expectColor(scene.level(PASS_BEAUTY), additive ? BLACK : instance.shader.parameters.color);
    }
}

// --- shading map
// ------------------------------------------------------------------------------------------------------

constexpr MaterialEntry<ShadingMapParameters> shadingMap{orcaVelaShadingMap_init, orcaVelaShadingMap_exit,
                                                         orcaVelaShadingMap};

ShadingMapParameters plainMap() {
    ShadingMapParameters p{};
    p.passWriteMode = 1;
    p.passWriteScale = 1.0f;
    p.inputColor = {0.2f, 0.8f, 0.5f, 1}; // hue 0.41667, saturation 0.75, value 0.8
    p.inputTransparency = {0.25f, 0.5f, 0.0f, 1};
    p.matteMode = 2;
    p.matteOpacity = 0.5f;
    p.glowColor = {0.1f, 0.2f, 0.3f, 1};
    return p;
}

class ShadingMap : public ::testing::Test {
protected:
    ShadingMap() { scene.renderer.state.tex_list = &coordinate; }

    MaterialScene scene{picturePasses};
    miVector coordinate{0.7f, 0.6f, 0.5f};
};

TEST_F(ShadingMap, IsIndexedByTheChannelsThatTheSelectorsName) {
    const struct {
        miInteger selector;
        float expected;
    } channels[] = {{0, 0.4166667f}, {1, 0.75f}, {2, 0.8f}, {3, 0.2f},
                    {4, 0.8f},       {5, 0.5f},  {6, 0.5f}, {-1, 0.5f}};
    for (const auto& u : channels)
        for (const auto& v : channels) {
            ShadingMapParameters p = plainMap();
            p.uChannel = u.selector;
            p.vChannel = v.selector;
            MaterialInstance<ShadingMapParameters> instance(scene, shadingMap, p);
            // The map shows where it is looked up.
            instance.connect(&instance.shader.parameters.mapColor, [](miState* state) {
                const miVector& at = state->tex_list[0];
                return miColor{at.x, at.y, at.z, 1};
            });
            const int flushes = scene.renderer.callCount("mi_flush_cache");
            scene.slot(Beauty).levelResult = BLACK;
            const auto result = instance.shade();
            // A selector below 0 is no channel of the HSV colour, and the mean all the same.
            expectColor(result.color, u.expected, v.expected, 0.0f);
            expectColor(scene.level(PASS_BEAUTY), result.color);
            EXPECT_EQ(scene.renderer.callCount("mi_flush_cache") - flushes, 2);
            EXPECT_EQ(coordinate.x, 0.7f);
            EXPECT_EQ(coordinate.y, 0.6f);
            EXPECT_EQ(coordinate.z, 0.5f);
        }
}

TEST_F(ShadingMap, KeepsEvaluationsWhenTheThreadIsToldTo) {
    scene.vela().keepEvaluations = miTRUE;
    MaterialInstance<ShadingMapParameters>(scene, shadingMap, plainMap()).shade();
    EXPECT_EQ(scene.renderer.callCount("mi_flush_cache"), 0);
}

TEST_F(ShadingMap, PassesTransparencyAndGlowOnAndLeavesTheModesMatte) {
    ShadingMapParameters p = plainMap();
    const auto shade = [&] { return MaterialInstance<ShadingMapParameters>(scene, shadingMap, p).shade(); };
    auto result = shade();
    EXPECT_EQ(result.transparency, p.inputTransparency);
    EXPECT_EQ(result.glowColor, p.glowColor);
    expectColor(result.matteOpacity, (WHITE - p.inputTransparency) * 0.5f);
    p.matteMode = 1;
    expectColor(shade().matteOpacity, 0.5f, 0.5f, 0.5f);
    p.matteMode = 0;
    scene.slot(Beauty).levelResult = BLACK;
    result = shade();
    EXPECT_EQ(result.matteOpacity, mark);
    EXPECT_EQ(result.color, BLACK);
    EXPECT_EQ(result.glowColor, BLACK);
    EXPECT_EQ(result.transparency, BLACK);
    EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
}

TEST_F(ShadingMap, TellsShadowRaysItsTransparencyUnlessItIsABlackHole) {
    miState ray = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
    for (const int mode : {0, 1, 2}) {
        ShadingMapParameters p = plainMap();
        p.matteMode = mode;
        MaterialInstance<ShadingMapParameters> instance(scene, shadingMap, p);
        SurfaceShaderReturnType result{};
        result.color = result.glowColor = {7, 7, 7, 7};
        instance.shade(result, &ray);
        EXPECT_EQ(result.transparency, mode ? p.inputTransparency : BLACK);
        EXPECT_EQ(result.color, BLACK);
        EXPECT_EQ(result.matteOpacity, BLACK);
        EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
    }
}

TEST_F(ShadingMap, ReplacesTheInputsPictureAndNotItsComponentsWherePassesAddUp) {
    scene.vela().additivePasses = miTRUE;
    MaterialInstance<ShadingMapParameters> instance(scene, shadingMap, plainMap());
    auto& p = instance.shader.parameters;
    p.mapColor = {0.9f, 0.1f, 0.0f, 1};
    instance.connect(&p.inputColor, [&](miState*) {
        scene.slot(Beauty).levelResult += WHITE;
        scene.slot(Diffuse).levelResult += WHITE * 0.5f;
        return WHITE;
    });
    instance.shade();
    expectColor(scene.level(PASS_BEAUTY), p.mapColor);
    expectColor(scene.level(PASS_DIFFUSE), 0.5f, 0.5f, 0.5f);
}

// --- use-background
// ---------------------------------------------------------------------------------------------------

constexpr MaterialEntry<UseBackgroundParameters> useBackground{
    orcaVelaUseBackground_init, orcaVelaUseBackground_exit, orcaVelaUseBackground};

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
        p.reflectionLimit = 4;
        p.shadowMask = 1.0f;
        p.matteMode = 2;
        p.matteOpacity = 1.0f;
        p.shadowBuffer = 0;
    }
    /// A light of which a part arrives.
    void shadowedLight(const miColor& all, const miColor& arriving, const miVector& toLight = {0, 0, 1}) {
        scene.addLight(toLight, all);
        const auto light = scene.renderer.lights.back().shader;
        scene.renderer.lights.back().shader = [light, arriving](miColor* result, miState* state) {
            const miBoolean lit = light(result, state);
            *result = arriving;
            return lit;
        };
    }
    SurfaceShaderReturnType shade() { return shade(&scene.renderer.state); }
    SurfaceShaderReturnType shade(miState* state) {
        return MaterialInstance<UseBackgroundParameters>(scene, useBackground, p).shade(state);
    }

    static constexpr miTag sky = 41;
    MaterialScene scene{picturePasses};
    UseBackgroundParameters p{};
    const miColor plate{0.6f, 0.5f, 0.3f, 1};
};

TEST_F(UseBackground, ShowsThePlateWhereNothingFallsOnIt) {
    scene.addLight({0, 0, 1}, {2, 1, 0.5f, 1});
    scene.addLight({0, 1, -1}, WHITE); // shines on the back
    p.reflectivity = 0.5f;
    scene.renderer.traceReflection = [](miColor* c, miState* state, miVector*) -> miBoolean {
        state->child = nullptr; // the ray meets nothing; the surroundings are in the plate
        *c = WHITE;
        return miTRUE;
    };
    const auto result = shade();
    expectColor(result.color, plate, 1e-6f);
    EXPECT_EQ(result.transparency, BLACK);
    EXPECT_EQ(result.glowColor, BLACK);
    expectColor(result.matteOpacity, WHITE);
    expectColor(scene.level(PASS_BEAUTY), plate);
    expectColor(scene.level(PASS_REFLECTION), BLACK);
    expectColor(scene.level(PASS_CUSTOM), BLACK);
}

TEST_F(UseBackground, IsDarkenedByTheShareOfLightThatShadowsTake) {
    shadowedLight({2, 1, 1, 1}, {0.5f, 1, 0, 1});
    shadowedLight({1, 1, 1, 1}, {1, 1, 1, 1}, {0, 0.8f, 0.6f});
    p.ambientColor = {0.4f, 0.4f, 0.4f, 1};
    const miColor left{(0.5f + 0.6f + 0.4f) / (2 + 0.6f + 0.4f), 1.0f, (0.6f + 0.4f) / (1 + 0.6f + 0.4f), 1};
    expectColor(shade().color, plate * left);
    expectColor(scene.level(PASS_CUSTOM), WHITE - left);
    expectColor(scene.level(PASS_BEAUTY), plate * left);
    p.shadowMask = 0.5f;
    expectColor(shade().color, plate * (WHITE + left) * 0.5f);
    p.shadowMask = 0.0f;
    expectColor(shade().color, plate);
}

TEST_F(UseBackground, TakesLightsOfOtherLibrariesForUnshadowed) {
    ScriptedLight light;
    light.instance = scene.renderer.database.addInstance();
    light.color = {0.25f, 0.5f, 4, 1};
    scene.renderer.lights.push_back(light);
    expectColor(shade().color, plate);
}

TEST_F(UseBackground, AddsReflectionsOfThingsAndKeepsThePiecesApart) {
    shadowedLight(WHITE, WHITE * 0.5f);
    p.reflectivity = 0.5f;
    const miColor met{0.4f, 0.4f, 0.8f, 1};
    miState hit = scene.renderer.derived(scene.renderer.state, miRAY_REFLECT);
    hit.instance = 5;
    scene.renderer.traceReflection = [&](miColor* c, miState* state, miVector*) -> miBoolean {
        state->child = &hit;
        scene.slot(Beauty, 1).childResult = met;
        ++scene.vela().surfacesShaded;
        *c = met;
        return miTRUE;
    };
    const miColor reflected = met * p.specularColor * 0.5f;
    const auto result = shade();
    expectColor(result.color, plate * 0.5f + reflected);
    expectColor(scene.level(PASS_BEAUTY), result.color);
    expectColor(scene.level(PASS_REFLECTION), reflected);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), plate * 0.5f);
    expectColor((WHITE - scene.level(PASS_CUSTOM)) * plate + scene.level(PASS_REFLECTION), result.color);
}

TEST_F(UseBackground, HonoursTheMatteModes) {
    p.matteOpacity = 0.25f;
    p.matteMode = 1;
    expectColor(shade().matteOpacity, 0.25f, 0.25f, 0.25f);
    p.matteMode = 0;
    scene.slot(Beauty).levelResult = BLACK;
    const auto hole = shade();
    EXPECT_EQ(hole.matteOpacity, mark);
    EXPECT_EQ(hole.color, BLACK);
    EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
}

TEST_F(UseBackground, BlocksLightExceptOnItsWayToOtherStandIns) {
    miState light = scene.renderer.derived(scene.renderer.state, miRAY_LIGHT);
    miState ray = scene.renderer.derived(light, miRAY_SHADOW);
    EXPECT_EQ(shade(&ray).transparency, BLACK);
    scene.vela().plateState = &scene.renderer.state; // one of them is being lit
    EXPECT_EQ(shade(&ray).transparency, WHITE);
    p.matteMode = 0;
    EXPECT_EQ(shade(&ray).transparency, BLACK);
}

// --- all of them
// -------------------------------------------------------------------------------------------------------

/// From init to exit, with a call in a renderer that has no base state.
template <class P, class Result>
void expectLife(int (*version)(), const MaterialEntry<P, Result>& entry, const char* file,
                const char* complaint) {
    SCOPED_TRACE(file);
    ScriptedRenderer renderer;
    ScriptedShader<P> shader;
    renderer.state.shader = &shader.function;
    miBoolean required = miFALSE;
    EXPECT_EQ(version(), 1);
    entry.init(&renderer.state, nullptr, &required);
    EXPECT_EQ(required, miTRUE);
    entry.init(&renderer.state, &shader.parameters, &required);
    ASSERT_EQ(renderer.memory.allocationsHeld(), 1);
    EXPECT_EQ(renderer.memory.held()[0].file, file);

    Result result{};
    reinterpret_cast<miColor&>(result).r = 7.0f;
    const miBoolean shaded = entry.shade(&result, &renderer.state, &shader.parameters);
    EXPECT_EQ(shaded == miFALSE, complaint != nullptr);
    if (complaint) {
        EXPECT_EQ(renderer.messagesOf('w'), std::vector<std::string>{complaint});
        EXPECT_EQ(reinterpret_cast<miColor&>(result).r, 7.0f);
    }
    entry.exit(&renderer.state, &shader.parameters);
    EXPECT_EQ(renderer.memory.allocationsHeld(), 0);
}

TEST(FlatMaterials, LiveFromInitToExitAndSayWhenTheBaseStateIsMissing) {
    expectLife<LayeredShaderParameters, SurfaceShaderReturnType>(
        orcaVelaLayeredShader_version,
        {orcaVelaLayeredShader_init, orcaVelaLayeredShader_exit, orcaVelaLayeredShader}, "orcaLayeredShader",
        "vela_layeredshader(): Internal state error.");
    expectLife(orcaVelaSurfaceShader_version, surfaceShader, "orcaSurfaceShader", nullptr);
    expectLife(orcaVelaShadingMap_version, shadingMap, "orcaShadingMap", nullptr);
    expectLife(orcaVelaUseBackground_version, useBackground, "orcaUseBackground",
               "vela_usebackground(): Internal state error.");
    expectLife<ImagePlaneParameters, miColor>(
        orcaVelaImagePlane_version, {orcaVelaImagePlane_init, orcaVelaImagePlane_exit, orcaVelaImagePlane},
        "orcaImagePlane", "vela_imageplane(): Internal state error.");
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaVector.h"
#include "orcaWriteMode.h"

#include <cmath>
#include <set>

namespace {

/// Every pass the pipeline feeds, one record each, as a compositor would set them up: the picture sees all
/// levels, components the first; terms that the picture shows through the surface's opacity are weighted by
/// it.
std::vector<ScenePass> allPasses() {
    const std::set<int> weighted = {PASS_AMBIENT, PASS_DIFFUSE, PASS_INDIRECT};
    std::vector<ScenePass> passes;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        ScenePass pass{static_cast<PassTypeID>(type), std::to_string(type)};
        pass.flags = FB_SHADOWED;
        if (weighted.count(type)) pass.flags |= FB_WEIGHT_BY_OPACITY;
        if (type != PASS_BEAUTY) pass.maxReflection = pass.maxRefraction = 0;
        passes.push_back(pass);
    }
    return passes;
}

TEST(Surface, EqualsItsBeautyAndTheSumOfItsLayers) {
    LambertParameters p = plainLambert();
    p.transparency = {0.25f, 0.5f, 0.75f, 1.0f};
    p.ambientColor = {0.2f, 0.1f, 0.3f, 1.0f};
    p.incandescence = {0.05f, 0.0f, 0.4f, 1.0f};
    p.translucence = 0.6f;
    p.translucenceForward = 0.5f;
    p.translucenceWrap = 0.05f;
    MaterialScene scene(allPasses());
    scene.addLight({1.0f, 1.0f, 1.0f}, {1.0f, 2.0f, 0.5f, 1.0f});
    scene.addLight({0.2f, 0.0f, -1.0f}, {0.7f, 0.7f, 0.9f, 1.0f}); // shines through
    scene.renderer.averageRadiance = [](miColor* e, miState*, miUint1 face, miIrrad_options*) -> miBoolean {
        EXPECT_EQ(face, 'f');
        *e = {0.3f, 0.2f, 0.1f, 0.0f};
        return miTRUE;
    };
    scene.vela().additivePasses = miTRUE;
    LambertInstance material(scene, p);
    const auto result = material.shade();

    expectColor(scene.level(PASS_BEAUTY), result.color);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), result.color);
    const miColor opacity = WHITE - p.transparency;
    const miColor sum =
        opacity * (scene.level(PASS_AMBIENT) + scene.level(PASS_DIFFUSE) + scene.level(PASS_INDIRECT)) +
        scene.level(PASS_INCANDESCENCE) + scene.level(PASS_SPECULAR);
    expectColor(sum, result.color);
    expectColor(scene.level(PASS_INDIRECT), 0.3f * 0.4f, 0.2f * 0.32f, 0.1f * 0.16f);
    EXPECT_GT(result.translucence.r, 0.0f);
}

TEST(Surface, KnowsNothingOfAForeignLightsShadowWherePassesAddUp) {
    for (const bool additive : {false, true}) {
        MaterialScene scene(allPasses());
        scene.vela().additivePasses = additive;
        ScriptedLight light; // does not take part in the protocol
        light.instance = scene.renderer.database.addInstance();
        light.color = WHITE;
        scene.renderer.lights.push_back(light);
        LambertInstance material(scene, plainLambert());
        const miColor diffuse = material.shade().diffuse;
        expectColor(scene.level(PASS_DIFFUSE), diffuse);
        expectColor(scene.level(PASS_SHADOW), additive ? BLACK : diffuse);
    }
}

TEST(Surface, WarnsWithoutTheBaseState) {
    PassScene scene({});
    ScriptedShader<LambertParameters> shader(plainLambert());
    scene.renderer.state.shader = &shader.function;
    miBoolean required;
    orcaVelaLambert_init(&scene.renderer.state, &shader.parameters, &required);
    SurfaceShaderReturnType result{};
    EXPECT_EQ(orcaVelaLambert(&result, &scene.renderer.state, &shader.parameters), miFALSE);
    EXPECT_EQ(scene.renderer.messagesOf('w'),
              std::vector<std::string>{"OrcaShaderSDK(): Internal state error."});
    orcaVelaLambert_exit(&scene.renderer.state, &shader.parameters);
}

TEST(Surface, ClosesTheLightLoopWhenALightThrows) {
    MaterialScene scene(allPasses());
    scene.addLight({0.0f, 0.0f, 1.0f});
    scene.renderer.lights[0].shader = [](miColor*, miState*) -> miBoolean { throw 1; };
    LambertInstance material(scene, plainLambert());
    const miColor throughput = scene.vela().throughput;
    scene.renderer.state.shader = &material.shader.function;
    SurfaceShaderReturnType result;
    EXPECT_THROW(orcaVelaLambert(&result, &scene.renderer.state, &material.shader.parameters), int);
    EXPECT_FALSE(scene.record(0).flags & FB_IN_LIGHT_LOOP);
    EXPECT_EQ(scene.vela().throughput, throughput);
}

// --- refraction
// ---------------------------------------------------------------------------------------------------------

struct RefractionFixture : ::testing::Test {
    RefractionFixture() : scene(allPasses()) {
        p = plainLambert();
        p.transparency = {0.5f, 0.25f, 1.0f, 1.0f};
        p.refractionsOn = miTRUE;
        p.refractiveIndex = 1.5f;
        scene.renderer.state.dir = normalized({0.6f, 0.0f, -0.8f});
        scene.renderer.state.dot_nd = -0.8f;
    }
    MaterialScene scene;
    LambertParameters p;
};

TEST_F(RefractionFixture, BendsTheRayAndHandsTheSceneBehindUp) {
    const miColor behind{0.4f, 0.8f, 0.2f, 1.0f};
    miVector direction{};
    scene.renderer.traceRefraction = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        direction = *d;
        scene.slot(0, 1).childResult = behind; // a surface of the library handed its beauty up
        ++scene.vela().surfacesShaded;
        *c = behind;
        return miTRUE;
    };
    LambertInstance material(scene, p);
    const auto result = material.shade();
    EXPECT_NEAR(direction.x, 0.6f / 1.5f, 1e-6f);
    EXPECT_LT(direction.z, 0.0f);
    EXPECT_NEAR(length(direction), 1.0f, 1e-6f);
    expectColor(result.refraction, p.transparency * behind);
    EXPECT_EQ(result.transparency, BLACK); // nothing left for the renderer
    expectColor(scene.level(PASS_BEAUTY), result.color);
    expectColor(scene.level(PASS_REFRACTION), result.refraction);
    expectColor(scene.vela().refractedTransparency, p.transparency);
}

TEST_F(RefractionFixture, CountsTheEnvironmentAsBeautyWhetherMetOrAtTheLimit) {
    const miColor sky{0.1f, 0.2f, 0.3f, 1.0f};
    const auto seeSky = [&](miColor* c, miState*, miVector*) -> miBoolean {
        *c = sky;
        return miTRUE;
    };
    scene.renderer.traceRefraction = seeSky;
    scene.renderer.traceEnvironment = seeSky;
    for (const int limit : {6, 0}) {
        scene.slot(0).levelResult = BLACK;
        p.refractionLimit = limit;
        LambertInstance material(scene, p);
        expectColor(material.shade().color, p.transparency * sky);
        expectColor(scene.level(PASS_BEAUTY), p.transparency * sky);
    }
    EXPECT_EQ(scene.renderer.callCount("mi_trace_refraction"), 1);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_environment"), 1);
}

TEST_F(RefractionFixture, TurnsTotalInternalReflectionIntoReflection) {
    scene.renderer.state.inv_normal = miTRUE;
    scene.renderer.state.dir = normalized({0.9f, 0.0f, -0.43589f});
    miVector direction{};
    scene.renderer.traceReflection = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        direction = *d;
        *c = WHITE;
        return miTRUE;
    };
    LambertInstance material(scene, p);
    expectColor(material.shade().refraction, p.transparency);
    EXPECT_NEAR(direction.z, 0.43589f, 1e-4f);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_refraction"), 0);
}

TEST_F(RefractionFixture, FillsTheBlurCone) {
    p.refractionBlur = 0.2f;
    p.refractionBlurSamples = 16;
    float widest = 0.0f;
    const miVector axis = normalized({0.4f, 0.0f, -std::sqrt(1.0f - 0.16f)});
    scene.renderer.traceRefraction = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        widest = std::max(widest, std::acos(std::min(1.0f, dot(axis, *d))));
        *c = WHITE;
        return miTRUE;
    };
    LambertInstance material(scene, p);
    expectColor(material.shade().refraction, p.transparency);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_refraction"), 16);
    EXPECT_LE(widest, 0.2001f);
    EXPECT_GT(widest, 0.15f);
}

// --- life cycle
// ---------------------------------------------------------------------------------------------------------

TEST(LambertInstance, IsNullWhenMemoryRunsOut) {
    ScriptedRenderer renderer;
    ScriptedShader<LambertParameters> shader(plainLambert());
    renderer.state.shader = &shader.function;
    renderer.memory.failing = true;
    miBoolean required;
    orcaVelaLambert_init(&renderer.state, &shader.parameters, &required);
    EXPECT_EQ(*renderer.userPointer(&shader.function), nullptr);
    EXPECT_TRUE(renderer.log.empty());
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
/// What the shading engine does besides compositing stacks.
#include "material_scene.h"
#include "orcaVelaShadingEngine.h"

namespace {

constexpr miTag surfaceTag = 77;

/// A surface that always returns `answer`, over which transparent rays meet it again, `layers` times in all.
class Engine : public ::testing::Test {
protected:
    Engine() {
        engine.parameters.surfaceShader = surfaceTag;
        scene.renderer.callShader = [this](miColor* color, int, miState*, miTag, void*) {
            ++shaded;
            reinterpret_cast<SurfaceShaderReturnType&>(*color) = answer;
            return miTRUE;
        };
        scene.renderer.traceTransparent = [this](miColor* color, miState* hit) -> miBoolean {
            marked = scene.record(0).flags & FB_IN_TRANSPARENCY;
            if (--layers < 1) return miFALSE;
            miState behind = scene.renderer.derived(*hit, miRAY_TRANSPARENT);
            return orcaVelaShadingEngine(color, &behind, &engine.parameters);
        };
    }
    miBoolean run(miState* hit) {
        hit->shader = &engine.function;
        return orcaVelaShadingEngine(&result, hit, &engine.parameters);
    }

    MaterialScene scene{{{PASS_BEAUTY, "beauty", FB_SHADOWED}}};
    miState& state = scene.renderer.state;
    ScriptedShader<ShadingEngineParameters> engine;
    SurfaceShaderReturnType answer{};
    miColor result{};
    int layers = 1, shaded = 0;
    bool marked = false;
};

TEST_F(Engine, StopsAChainOf256States) {
    std::vector<miState> chain(256, state);
    for (std::size_t i = 1; i < chain.size(); ++i) chain[i].parent = &chain[i - 1];
    answer.transparency = WHITE * 0.5f;
    for (const std::size_t depth : {254u, 255u}) EXPECT_TRUE(run(&chain[depth]));
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 1);
    EXPECT_EQ(scene.vela().transparencyCount, 2); // the last one is a layer as well
}

TEST_F(Engine, DoesNotShadeBehindAFullyTransparentHit) {
    // A hit so dark is transparent only for thresholds above 0.99999.
    scene.vela().transparencyThreshold = 0.999995f;
    answer.transparency = WHITE * 8e-6f;
    answer.color = WHITE;
    layers = 2;
    EXPECT_TRUE(run(&state));
    EXPECT_TRUE(marked);
    EXPECT_EQ(shaded, 1);
    EXPECT_FALSE(scene.record(0).flags & FB_IN_TRANSPARENCY);
}

TEST_F(Engine, PassesTheSurfacesColourThrough) {
    engine.parameters.mode = 1;
    scene.vela().depthOutput = scene.vela().raster = miTRUE;
    scene.vela().depthPlaneNormal = {0.0f, 0.0f, -1.0f};
    scene.vela().depthPlaneOffset = 10.0f;
    answer.color = {0.5f, 2.0f, 0.25f, 0.75f};
    answer.transparency = WHITE;
    EXPECT_TRUE(run(&state));
    EXPECT_EQ(result, answer.color);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 0);
    EXPECT_EQ(scene.vela().transparencyAccum, WHITE * 0.25f);
    ASSERT_EQ(scene.vela().depthStack.count, 1);
    EXPECT_EQ(static_cast<DepthStackEntry*>(scene.vela().depthStack.top)->depth, 10.0f);
}

TEST_F(Engine, LiftsTheNormalOfGrazingHits) {
    state.dir = {1.0f, 0.0f, 0.0f};
    state.dot_nd = 0.0f;
    EXPECT_TRUE(run(&state));
    EXPECT_NEAR(state.dot_nd, -0.0015f, 1e-6f);
}

TEST_F(Engine, WarnsWithoutASurface) {
    for (const miTag tag : {miNULLTAG, 0xFFFFFFFFu}) {
        engine.parameters.surfaceShader = tag;
        EXPECT_FALSE(run(&state));
        EXPECT_EQ(scene.renderer.log.back(),
                  (ScriptedMessage{'w', "vela_shadingengine(): Cannot evaluate surface shader."}));
    }
}

} // namespace

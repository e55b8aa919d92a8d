// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaFilterSize.h"
#include "orcaVelaShadingEngine.h"

#include <cmath>
#include <functional>

namespace {

constexpr miTag surfaceTag = 77;

/// A card: what its surface shader returns, and writes into the diffuse pass.
struct Card {
    miColor color;
    miColor transparency;
    miColor diffuse;
};

class Engine : public ::testing::Test {
protected:
    explicit Engine(const std::vector<ScenePass>& passes = {{PASS_BEAUTY, "beauty", FB_SHADOWED},
                                                            {PASS_DIFFUSE, "diffuse", FB_WEIGHT_BY_OPACITY},
                                                            {PASS_MATTE, "matte"},
                                                            {PASS_OPACITY, "opacity"}})
        : scene(passes) {
        engine.parameters.surfaceShader = surfaceTag;
        scene.renderer.callShader = [this](miColor* result, int type, miState* state, miTag tag, void*) {
            EXPECT_EQ(type, miSHADER_MATERIAL);
            EXPECT_EQ(tag, surfaceTag);
            return surface(*reinterpret_cast<SurfaceShaderReturnType*>(result), state);
        };
        // The surface shader shows the card at the top of the pile.
        surface = [this](SurfaceShaderReturnType& result, miState* state) {
            const Card& card = cards.at(hit++);
            result.color = card.color;
            result.transparency = card.transparency;
            result.matteOpacity = WHITE - card.transparency;
            write(PASS_BEAUTY, state, card.color);
            write(PASS_DIFFUSE, state, card.diffuse);
            return miTRUE;
        };
        scene.renderer.traceTransparent = [this](miColor* result, miState* state) -> miBoolean {
            if (hit == cards.size()) {
                *result = background;
                return miTRUE;
            }
            miState behind = scene.renderer.derived(*state, miRAY_TRANSPARENT);
            return orcaVelaShadingEngine(result, &behind, &engine.parameters);
        };
    }

    void write(PassTypeID type, miState* state, const miColor& value) {
        PassTypeInfo* types = nullptr;
        FrameBufferInfo* records = nullptr;
        if (getFrameBufferInfo(state, types, records) == 0 || (*types)[type].count == 0) return;
        TraceLevelSlot& slot = records[(*types)[type].first].levelSlots[traceLevel(state)];
        if (!(slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED)) slot.levelResult += value;
    }
    miColor run() { return run(&scene.renderer.state); }
    miColor run(miState* state) {
        state->shader = &engine.function;
        miColor result{};
        EXPECT_EQ(orcaVelaShadingEngine(&result, state, &engine.parameters), miTRUE);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        return result;
    }

    MaterialScene scene;
    ScriptedShader<ShadingEngineParameters> engine;
    std::function<miBoolean(SurfaceShaderReturnType&, miState*)> surface;
    std::vector<Card> cards;
    std::size_t hit = 0;
    miColor background = BLACK;
};

TEST_F(Engine, ShowsTheBackgroundThroughTheLastCard) {
    cards = {{{0.1f, 0.1f, 0.1f, 0}, {0.5f, 0.5f, 0.5f, 0.5f}, BLACK}, {BLACK, {0.5f, 1, 0, 0.5f}, BLACK}};
    background = {0.4f, 0.6f, 0.8f, 1.0f};
    const miColor picture = run();
    expectColor(picture, 0.2f, 0.4f, 0.1f);
    expectColor(scene.handedUp(PASS_BEAUTY), picture);
    expectColor(scene.handedUp(PASS_DIFFUSE), BLACK);
}

TEST_F(Engine, StopsAChainOf256States) {
    std::vector<miState> chain(256, scene.renderer.state);
    for (std::size_t i = 1; i < chain.size(); ++i) chain[i].parent = &chain[i - 1];
    cards.assign(2, {BLACK, {0.5f, 0.5f, 0.5f, 0.5f}, BLACK});
    scene.renderer.traceTransparent = [](miColor*, miState*) -> miBoolean { return miFALSE; };
    run(&chain[254]);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 1);
    run(&chain[255]);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 1);
}

TEST_F(Engine, DoesNotShadeBehindAFullyTransparentHit) {
    scene.vela().transparencyThreshold = 2.0f; // every hit counts as transparent
    cards = {{WHITE, BLACK, BLACK}, {WHITE, BLACK, BLACK}};
    bool marked = false;
    scene.renderer.traceTransparent = [&](miColor* result, miState* state) -> miBoolean {
        marked = scene.record(0).flags & FB_IN_TRANSPARENCY;
        scene.renderer.traceTransparent = nullptr;
        miState behind = scene.renderer.derived(*state, miRAY_TRANSPARENT);
        return orcaVelaShadingEngine(result, &behind, &engine.parameters);
    };
    run();
    EXPECT_TRUE(marked);
    EXPECT_EQ(hit, 1u);
    EXPECT_FALSE(scene.record(0).flags & FB_IN_TRANSPARENCY);
}

TEST_F(Engine, PassesTheSurfacesColourThrough) {
    engine.parameters.mode = 1;
    scene.vela().depthOutput = scene.vela().raster = miTRUE;
    scene.vela().depthPlaneNormal = {0.0f, 0.0f, -1.0f};
    scene.vela().depthPlaneOffset = 10.0f;
    surface = [](SurfaceShaderReturnType& result, miState*) {
        result.color = {0.5f, 2.0f, 0.25f, 0.75f};
        result.transparency = WHITE;
        return miTRUE;
    };
    EXPECT_EQ(run(), (miColor{0.5f, 2.0f, 0.25f, 0.75f}));
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 0);
    EXPECT_EQ(scene.vela().transparencyAccum, WHITE * 0.25f);
    ASSERT_EQ(scene.vela().depthStack.count, 1);
    EXPECT_EQ(static_cast<DepthStackEntry*>(scene.vela().depthStack.top)->depth, 10.0f);
}

TEST_F(Engine, LiftsTheNormalOfGrazingHits) {
    scene.renderer.state.dir = {1.0f, 0.0f, 0.0f};
    scene.renderer.state.dot_nd = 0.0f;
    cards = {{BLACK, BLACK, BLACK}};
    run();
    EXPECT_NEAR(scene.renderer.state.dot_nd, -0.0015f, 1e-6f);
}

TEST_F(Engine, WarnsWithoutASurface) {
    miColor result;
    for (const miTag tag : {miNULLTAG, 0xFFFFFFFFu}) {
        engine.parameters.surfaceShader = tag;
        scene.renderer.state.shader = &engine.function;
        EXPECT_EQ(orcaVelaShadingEngine(&result, &scene.renderer.state, &engine.parameters), miFALSE);
    }
    const std::string text = "vela_shadingengine(): Cannot evaluate surface shader.";
    EXPECT_EQ(scene.renderer.messagesOf('w'), (std::vector<std::string>{text, text}));
}

TEST_F(Engine, PutsTheFilterSizesBackAndFitsThemToTheHit) {
    scene.vela().filterBase = 0.01f;
    auto& camera = scene.renderer.database.element<miInstance>(scene.renderer.state.camera_inst);
    const miMatrix atTen{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 10, 1};
    std::copy(std::begin(atTen), std::end(atTen), camera.tf.local_to_global);
    scene.vela().footprint = {{7, 7, 7}, {7, 7, 7}};
    FilterFootprint inside{};
    surface = [&](SurfaceShaderReturnType&, miState*) {
        inside = scene.vela().footprint;
        return miTRUE;
    };
    const auto sizeFor = [&](miState& state) {
        run(&state);
        return inside.screen.x;
    };
    miState& eye = scene.renderer.state;
    EXPECT_NEAR(sizeFor(eye), 0.1f, 1e-6f);
    EXPECT_NEAR(inside.texture.y, 0.1f * 1.5e-5f, 1e-9f);
    miState mirrored = scene.renderer.derived(eye, miRAY_REFLECT);
    mirrored.dist = 5.0;
    EXPECT_NEAR(sizeFor(mirrored), 0.15f, 1e-6f);
    scene.vela().throughput = WHITE * 0.5f;
    EXPECT_NEAR(sizeFor(eye), 0.045f, 1e-6f);
    scene.vela().filterEnabled = miFALSE;
    scene.vela().fixedFilterSize = 3.0f;
    EXPECT_EQ(sizeFor(eye), 3.0f);
    EXPECT_EQ(scene.vela().footprint.screen.x, 7.0f);
}

} // namespace

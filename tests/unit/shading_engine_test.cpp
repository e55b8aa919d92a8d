// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaFilterSize.h"
#include "orcaLevelSlots.h"
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

TEST_F(Engine, ShowsTheBackgroundThroughTheLastCardAndInThePassesWhereTheyAddUp) {
    for (const bool additive : {false, true}) {
        scene.vela().additivePasses = additive;
        scene.slot(0).childResult = scene.slot(0).levelAux = BLACK;
        hit = 0;
        cards = {{{0.1f, 0.1f, 0.1f, 0}, {0.5f, 0.5f, 0.5f, 0.5f}, BLACK},
                 {BLACK, {0.5f, 1, 0, 0.5f}, BLACK}};
        background = {0.4f, 0.6f, 0.8f, 1.0f};
        const miColor picture = run();
        expectColor(picture, 0.2f, 0.4f, 0.1f);
        expectColor(scene.handedUp(PASS_BEAUTY), additive ? picture : miColor{0.1f, 0.1f, 0.1f, 0});
        expectColor(scene.handedUp(PASS_DIFFUSE), BLACK);
    }
}

/// A surface that refracts a part of what it transmits and leaves another to the renderer: its own values, by
/// which weight they are handed up, and what its ray met.
TEST_F(Engine, WeighsOwnValuesByWhatIsLeftOpaqueAndTracedOnesNotWherePassesAddUp) {
    const miColor refracted{0.75f, 0.5f, 0.0f, 0.0f}, transparency{0.25f, 0.125f, 0.0f, 0.0f};
    const miColor met{0.3f, 0.4f, 0.5f, 1.0f}, own{1.0f, 0.5f, 0.25f, 1.0f};
    surface = [&](SurfaceShaderReturnType& result, miState* state) {
        scene.vela().refractedTransparency = refracted;
        result.transparency = transparency;
        PassRecords passes(state);
        for (unsigned i = 0; i < passes.count; ++i) passes.records[i].levelSlots[1].childResult = met;
        write(PASS_DIFFUSE, state, own * 0.5f);
        addTraced(state, scene.vela(), passes, true, refracted);
        write(PASS_DIFFUSE, state, own * 0.5f);
        return miTRUE;
    };
    for (const bool additive : {false, true}) {
        SCOPED_TRACE(additive);
        scene.vela().additivePasses = additive;
        for (int i = 0; i < 4; ++i) scene.slot(i).childResult = scene.slot(i).levelAux = BLACK;
        hit = cards.size();
        run();
        const miColor opacity = WHITE - transparency, traced = refracted * met;
        expectColor(scene.handedUp(PASS_DIFFUSE),
                    additive ? (opacity - refracted) * own + traced : opacity * (own + traced));
        expectColor(scene.handedUp(PASS_BEAUTY), traced); // is not weighted
        expectColor(scene.handedUp(PASS_OPACITY), opacity + traced);
        EXPECT_EQ(scene.vela().tracedValues, nullptr);
    }
}

/// Alpha of a pass over two cards, of which it leaves out the first, for all or by its mask.
TEST_F(Engine, HandsCoverageUpAsAlphaWherePassesAddUp) {
    const miColor half{0.5f, 0.5f, 0.5f, 0.9f}, quarter{0.25f, 0.25f, 0.25f, 0.0f};
    for (const bool excluded : {false, true}) {
        for (int i = 0; i < 4; ++i) scene.slot(i).childResult = scene.slot(i).levelAux = BLACK;
        scene.vela().additivePasses = miTRUE;
        const miTag plain = scene.renderer.state.instance;
        const miTag masked = scene.renderer.database.addMaskedInstance(excluded ? "d" : "f");
        cards = {{BLACK, half, BLACK}, {BLACK, quarter, BLACK}};
        hit = 0;
        scene.renderer.state.instance = masked;
        scene.renderer.traceTransparent = [&](miColor* result, miState* state) -> miBoolean {
            if (hit == cards.size()) return miFALSE;
            miState behind = scene.renderer.derived(*state, miRAY_TRANSPARENT);
            behind.instance = plain;
            return orcaVelaShadingEngine(result, &behind, &engine.parameters);
        };
        run();
        scene.renderer.state.instance = plain;
        // Unlit, and covered all the same.
        EXPECT_FLOAT_EQ(scene.handedUp(PASS_BEAUTY).a, 0.5f + 0.5f * 0.75f);
        EXPECT_FLOAT_EQ(scene.handedUp(PASS_DIFFUSE).a, excluded ? 0.5f * 0.75f : 0.5f + 0.5f * 0.75f);
        EXPECT_EQ(scene.handedUp(PASS_DIFFUSE).r, 0.0f);
    }
}

TEST_F(Engine, LeavesTheLargestUncoveredShareBehind) {
    cards = {{BLACK, {0.5f, 0.25f, 0.125f, 0.5f}, BLACK}, {BLACK, BLACK, BLACK}};
    scene.slot(0).levelAux = {0.5f, 0.5f, 0.5f, 0.5f};
    std::vector<miColor> uncovered;
    surface = [&, shade = surface](SurfaceShaderReturnType& result, miState* state) {
        if (hit > 0) uncovered.push_back(scene.vela().uncovered);
        return shade(result, state);
    };
    run();
    ASSERT_EQ(uncovered.size(), 1u);
    EXPECT_EQ(uncovered[0], WHITE); // of the records that nothing covers yet
    expectColor(scene.vela().uncovered, 0.5f, 0.25f, 0.125f);
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
    EXPECT_EQ(scene.vela().transparencyCount, 2); // the last one is a layer as well
}

TEST_F(Engine, DoesNotShadeBehindAFullyTransparentHit) {
    // A hit so dark is transparent only for thresholds above 0.99999.
    scene.vela().transparencyThreshold = 0.999995f;
    const miColor least = WHITE * 8e-6f;
    cards = {{WHITE, least, BLACK}, {WHITE, least, BLACK}};
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

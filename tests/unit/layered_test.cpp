// SPDX-License-Identifier: Apache-2.0
#include "orcaLayeredShader.h"

#include "material_scene.h"
#include "orcaLayerWrites.h"

#include <cmath>

namespace {

constexpr MaterialEntry<LayeredShaderParameters> layered = MATERIAL_ENTRY(orcaVelaLayeredShader);
constexpr miColor mark{-1000000.0f, -1000000.0f, -1000000.0f, 0.0f};

/// The record with its layers behind it, at the third element's place.
struct LayeredBlock : LayeredShaderParameters {
    char gap[offsetof(LayeredShaderParameters, layers) + 2 * sizeof(LayerRecord) -
             sizeof(LayeredShaderParameters)];
    LayerRecord behind[4];
};

LayeredBlock stack(int mode, const std::vector<LayerRecord>& layers) {
    LayeredBlock b{};
    b.passWriteMode = 1;
    b.passWriteScale = 1.0f;
    b.compositingMode = mode;
    b.i_layers = 2;
    b.n_layers = static_cast<int>(layers.size());
    std::copy(layers.begin(), layers.end(), b.behind);
    b.matteMode = 2;
    b.matteOpacity = 0.5f;
    return b;
}

class Layered : public ::testing::Test {
protected:
    using Instance = MaterialInstance<LayeredShaderParameters, SurfaceShaderReturnType, LayeredBlock>;

    MaterialScene scene{{{PASS_BEAUTY, "0", FB_SHADOWED},
                         {PASS_DIFFUSE, "5", FB_WEIGHT_BY_OPACITY},
                         {PASS_SPECULAR, "7"},
                         {PASS_NORMAL, "32"},
                         {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}}};
    enum { Beauty, Diffuse, Specular, Normal, NoReflection };

    SurfaceShaderReturnType shade(const LayeredBlock& block) {
        scene.clear();
        return Instance(scene, layered, block).shade();
    }

    const std::vector<LayerRecord> three{
        {{0.8f, 0.4f, 0.2f, 1}, {0.5f, 0.25f, 0.75f, 1}, {0.1f, 0.2f, 0.3f, 1}},
        {{0.1f, 0.9f, 0.3f, 1}, {0.2f, 0.5f, 1.0f, 1}, {0.3f, 0.0f, 0.5f, 1}},
        {{0.6f, 0.6f, 0.1f, 1}, {0.0f, 0.5f, 0.5f, 1}, {0.0f, 0.4f, 0.2f, 1}}};
};

TEST_F(Layered, AddsUpFrontToBackInBothModesDownToAnOpaqueLayer) {
    std::vector<LayerRecord> opaque = three, clear = three;
    opaque[1].transparency = {0, 0, 0, 1};
    clear[0].transparency = WHITE; // of which the premultiplied colour is seen all the same
    for (const int mode : {0, 1, -7})
        for (const auto& layers : {three, opaque, clear, {}}) {
            SCOPED_TRACE(mode);
            miColor color = BLACK, glow = BLACK, seen = WHITE;
            for (const LayerRecord& layer : layers) {
                const miColor weight = mode ? seen * (WHITE - layer.transparency) : seen;
                color += weight * layer.color;
                glow += weight * layer.glowColor;
                seen *= layer.transparency;
            }
            auto block = stack(mode, layers);
            const auto result = shade(block);
            expectColor(result.color, color);
            expectColor(result.glowColor, glow);
            expectColor(result.transparency, seen);
            EXPECT_EQ(result.color.a, 0.0f);
            expectColor(result.matteOpacity, (WHITE - seen) * 0.5f);
            expectColor(scene.level(PASS_BEAUTY), color);
            expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), color);
            EXPECT_EQ(scene.level(PASS_BEAUTY).a, 1.0f);
            EXPECT_EQ(scene.level(PASS_DIFFUSE), BLACK);
            EXPECT_EQ(scene.vela().layerTransmission, WHITE);
            block.passWriteMode = 0;
            expectColor(shade(block).color, color);
            EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
        }
}

/// Layers that let 1 in 16 through: what they hide is left out when the threshold says so, and sooner when
/// the hit is itself seen through others.
TEST_F(Layered, StopsWhereTooLittleIsSeenOfWhatLiesBelow) {
    const LayerRecord dark{{0.25f, 0.25f, 0.25f, 1}, {1 / 16.0f, 1 / 16.0f, 1 / 16.0f, 1}, BLACK};
    const auto block = stack(0, {dark, dark, dark, dark});
    struct {
        float threshold, seenThrough;
        int layersShown;
    } const cases[] = {
        {1.0f, 1.0f, 4}, {0.9995f, 1.0f, 3}, {0.995f, 1.0f, 2}, {0.995f, 0.05f, 1}, {0.9f, 1.0f, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.layersShown);
        scene.vela().transparencyThreshold = c.threshold;
        scene.vela().layerTransmission = WHITE * c.seenThrough;
        const auto result = shade(block);
        float sum = 0.0f;
        for (int i = 0; i < c.layersShown; ++i) sum += 0.25f * std::pow(1 / 16.0f, static_cast<float>(i));
        EXPECT_NEAR(result.color.r, sum, 1e-7f);
        miState ray = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
        for (const miColor& seen :
             {result.transparency, Instance(scene, layered, block).shade(&ray).transparency})
            EXPECT_EQ(seen == BLACK, c.layersShown < 4);
        EXPECT_EQ(scene.vela().layerTransmission.r, c.seenThrough);
    }
}

TEST_F(Layered, LeavesTheMatteThatItsModeSays) {
    LayeredBlock block = stack(1, three);
    block.n_layers = 2;
    block.matteMode = 1;
    expectColor(shade(block).matteOpacity, 0.5f, 0.5f, 0.5f);
    miState ray = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
    SurfaceShaderReturnType before{};
    before.color.r = 7.0f;
    scene.clear();
    const auto shadow = Instance(scene, layered, block).shade(&ray, before);
    expectColor(shadow.transparency, three[0].transparency * three[1].transparency);
    EXPECT_EQ(shadow.color.r, 7.0f);
    EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
    block.matteMode = 0;
    EXPECT_EQ(Instance(scene, layered, block).shade(&ray).transparency, BLACK);
    const auto hole = shade(block);
    EXPECT_EQ(hole.matteOpacity, mark);
    EXPECT_EQ(hole.color, BLACK);
    EXPECT_EQ(hole.transparency, BLACK);
    EXPECT_EQ(scene.level(PASS_BEAUTY), BLACK);
}

/// What a layer's own material does: a diffuse part that its opacity weighs, and a highlight that it does
/// not.
struct LayerMaterial {
    miColor diffuse, specular, transparency;

    [[nodiscard]] miColor color() const { return (WHITE - transparency) * diffuse + specular; }
    void write(MaterialScene& scene) const {
        const miColor values[] = {color(), diffuse, specular, {diffuse.r, 0, 1, 0}, color()};
        for (int i = 0; i < 5; ++i) scene.slot(i).levelResult += values[i];
        scene.vela().surfaceOpacity = WHITE - transparency;
        scene.vela().refractedTransparency = {0.1f, 0.1f, 0.1f, 0};
    }
};

/// A layer's own diffuse light, and what its ray met, which its opacity does not weigh.
TEST_F(Layered, KeepsWhatTheLayersTraceApartFromWhatTheyWrite) {
    const miColor own{0.4f, 0.2f, 0.6f, 1}, met{0.3f, 0.5f, 0.1f, 1}, transparency{0.5f, 0.5f, 0.75f, 1};
    scene.vela().additivePasses = miTRUE;
    scene.vela().engineHit = &scene.renderer.state;
    const PassRecords passes(&scene.renderer.state);
    const TracedValues traced(scene.vela(), passes);
    Instance instance(scene, layered, stack(0, {three[0], three[1]}));
    LayerRecord& layer = instance.shader.parameters.behind[1];
    instance.connect(&layer.color, [&](miState*) {
        scene.slot(Diffuse).levelResult += own;
        scene.vela().tracedValues[Diffuse] += met;
        scene.vela().surfaceOpacity = WHITE - transparency;
        return WHITE;
    });
    layer.transparency = BLACK; // refracted
    instance.shade();
    expectColor(scene.level(PASS_DIFFUSE), three[0].transparency * (WHITE - transparency) * own);
    expectColor(scene.vela().tracedValues[Diffuse], three[0].transparency * met);
}

/// Where passes add up, what the layers write is mixed as their colours are; otherwise it stays as they wrote
/// it.
TEST_F(Layered, WeighsWhatTheLayersWriteAsItWeighsTheirColoursWherePassesAddUp) {
    const LayerMaterial materials[] = {
        {{0.4f, 0.1f, 0.3f, 1}, {0.2f, 0.3f, 0.0f, 1}, {0.6f, 0.5f, 0.9f, 1}},
        {{0.2f, 0.8f, 0.5f, 1}, {0.0f, 0.1f, 0.7f, 1}, {0.3f, 0.2f, 0.1f, 1}},
    };
    for (int bits = 0; bits < 8; ++bits) {
        SCOPED_TRACE(bits);
        const bool weighted = bits & 1, additive = bits & 4;
        const bool runsOnce = bits & 2; // the renderer reads all members from one result
        scene.clear();
        scene.vela().additivePasses = additive;
        Instance instance(scene, layered, stack(weighted, {three[0], three[1]}));
        int runs[2] = {};
        for (int i = 0; i < 2; ++i) {
            LayerRecord& layer = instance.shader.parameters.behind[i];
            const LayerMaterial& material = materials[i];
            const auto output = [&, i, this](miColor& member, const miColor& value) {
                instance.connect(&member, [&, value, i, this](miState*) {
                    if (runs[i]++ == 0 || !runsOnce) material.write(scene);
                    return value;
                });
            };
            output(layer.color, material.color());
            output(layer.transparency, material.transparency);
            output(layer.glowColor, BLACK);
        }
        const auto result = instance.shade();
        const float times = runsOnce ? 1.0f : 3.0f;
        expectColor(scene.level(PASS_BEAUTY),
                    additive ? result.color
                             : result.color + (materials[0].color() + materials[1].color()) * times);
        if (!additive) {
            expectColor(scene.level(PASS_DIFFUSE), (materials[0].diffuse + materials[1].diffuse) * times);
            continue;
        }
        // As the engine hands them up: weighted by opacity, and not.
        const miColor opacity = WHITE - result.transparency - scene.vela().refractedTransparency;
        expectColor(scene.level(PASS_DIFFUSE) * opacity + scene.level(PASS_SPECULAR), result.color);
        EXPECT_GT(scene.level(PASS_SPECULAR).g, 0.1f);
        EXPECT_EQ(scene.level(PASS_SPECULAR).a, 1.0f);
        expectColor(scene.level(PASS_NORMAL), materials[0].diffuse.r, 0, 1); // of the front layer
    }
}

TEST(PerRecord, HoldsMoreRecordsThanAreAtHand) {
    std::vector<ScenePass> passes;
    for (int i = 0; i < 100; ++i) passes.push_back({PASS_DIFFUSE, std::to_string(i)});
    MaterialScene scene(passes);
    const int before = scene.renderer.memory.allocationsHeld();
    {
        const PassRecords records(&scene.renderer.state);
        ASSERT_EQ(records.count, 100u);
        LayerWrites writes(&scene.renderer.state, scene.vela(), records, true);
        for (int i = 0; i < 100; ++i) scene.slot(i).levelResult = {static_cast<float>(i), 0, 0, 1};
        writes.keep(WHITE * 0.5f, WHITE);
        for (int i = 0; i < 100; ++i) scene.slot(i).levelResult = WHITE;
        writes.drop();
        writes.finish(WHITE);
        for (int i = 0; i < 100; ++i) EXPECT_EQ(scene.slot(i).levelResult.r, 0.5f * static_cast<float>(i));
    }
    EXPECT_EQ(scene.renderer.memory.allocationsHeld(), before);
}

} // namespace

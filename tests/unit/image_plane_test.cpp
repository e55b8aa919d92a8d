// SPDX-License-Identifier: Apache-2.0
#include "orcaImagePlane.h"

#include "material_scene.h"
#include "orcaVelaShadingEngine.h"

#include <cmath>

namespace {

constexpr MaterialEntry<ImagePlaneParameters, miColor> imagePlane = MATERIAL_ENTRY(orcaVelaImagePlane);
using Plane = MaterialInstance<ImagePlaneParameters, miColor>;
constexpr miTag picture = 61;

/// A plane that the ray meets as a material of its own, with a picture of one colour, over something behind.
class ImagePlane : public ::testing::Test {
protected:
    ImagePlane() {
        scene.renderer.state.tex_list = &coordinate;
        scene.renderer.lookupColor = [this](miColor* result, miState*, miTag tag, miVector* at) -> miBoolean {
            EXPECT_EQ(tag, picture);
            EXPECT_EQ(at->x, coordinate.x);
            if (readable) *result = texel;
            return readable;
        };
        scene.renderer.traceTransparent = [this](miColor* result, miState* state) -> miBoolean {
            levelBehind = state->refraction_level;
            *result = behind;
            return miTRUE;
        };
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        p.imageTexture = picture;
        p.imageColor = {0.2f, 0.3f, 0.4f, 0.5f};
        p.displayMode = 3;
        p.colorGain = WHITE;
        p.alphaGain = 1.0f;
        p.reflectionVisible = p.refractionVisible = miTRUE;
    }
    miColor shade() { return shade(&scene.renderer.state); }
    miColor shade(miState* state, const miColor& before = BLACK, miBoolean answer = miTRUE) {
        scene.clear();
        return Plane(scene, imagePlane, p).shade(state, before, answer);
    }
    void expectBeauty(const miColor& expected, int level = 0) {
        expectColor(scene.handedUp(PASS_BEAUTY, level), expected);
        expectColor(scene.handedUp(PASS_BEAUTY_NO_REFLECTION_REFRACTION, level), expected);
    }

    MaterialScene scene{
        {{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_DIFFUSE, "5"}, {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}}};
    ImagePlaneParameters p{};
    miVector coordinate{0.25f, 0.75f, 0};
    bool readable = true;
    miColor texel{0.8f, 0.4f, 0.2f, 0.25f};
    miColor behind{0.1f, 0.6f, 0.5f, 1.0f};
    int levelBehind = 100;
};

TEST_F(ImagePlane, ShowsItsPictureAsTheModeSaysOverWhatIsBehind) {
    const miColor twice{2, 0.5f, 1, 1}, shifted{0.1f, -0.1f, 0, 1};
    const float grey = 0.30f * 0.8f + 0.59f * 0.4f + 0.11f * 0.2f;
    constexpr float nearlyOpaque = 1.0f - 1e-5f;
    struct {
        miInteger mode;
        float alpha, alphaGain;
        miColor gain, offset, shown;
    } const cases[] = {{2, 0.25f, 1, WHITE, BLACK, texel},
                       {4, 0.25f, 1, WHITE, BLACK, {grey, grey, grey, 1}},
                       {5, 0.25f, 1, WHITE, BLACK, {0.25f, 0.25f, 0.25f, 1}},
                       {1, 0.25f, 1, WHITE, BLACK, texel},
                       {3, 0.25f, 1, WHITE, BLACK, texel},
                       {3, 1, 1, twice, shifted, {1.7f, 0.1f, 0.2f, 1}},
                       {5, 0.25f, 4, twice, shifted, {0.6f, 0.025f, 0.25f, 1}},
                       {5, 0.25f, 2, twice, shifted, {0.6f, 0.025f, 0.25f, 1}},
                       {3, nearlyOpaque, 1, WHITE, BLACK, texel},
                       {3, std::nextafter(nearlyOpaque, 2.0f), 1, WHITE, BLACK, texel}};
    scene.renderer.camera.volume = 23;
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        p.displayMode = c.mode;
        texel.a = c.alpha;
        p.alphaGain = c.alphaGain;
        p.colorGain = c.gain;
        p.colorOffset = c.offset;
        levelBehind = 100;
        scene.vela().imagePlanes = {WHITE * 0.5f, WHITE, WHITE};
        const miColor seen = shade();
        const bool opaque = c.mode == 2 || c.alpha * c.alphaGain > nearlyOpaque;
        const float alpha = opaque ? 1.0f : c.alpha * c.alphaGain;
        const miColor expected = c.shown * alpha + behind * (1.0f - alpha);
        expectColor(seen, expected);
        EXPECT_EQ(seen.a, 1.0f);
        expectBeauty(expected);
        EXPECT_EQ(levelBehind, opaque ? 100 : -1);
        EXPECT_EQ(scene.vela().imagePlanes.coverage,
                  WHITE); // by the composited alpha, also of what is behind
        EXPECT_EQ(scene.vela().imagePlanes.transmission.g, 1.0f - alpha);
        EXPECT_EQ(scene.vela().imagePlanes.openness.r, opaque ? 0.0f : 1.0f);
        EXPECT_EQ(scene.renderer.state.refraction_level, 0);
        EXPECT_EQ(scene.vela().flags & VELA_BIT_IMAGEPLANE, 0u);
        EXPECT_EQ(scene.renderer.state.volume, 23u); // the camera's, where there is none
    }
}

TEST_F(ImagePlane, ShowsAColourInsteadOrNothingOrWhatWasThere) {
    p.sourceKind = 1;
    const miColor seen = shade();
    expectColor(seen, p.imageColor);
    EXPECT_EQ(seen.a, 1.0f);
    expectBeauty(p.imageColor);
    EXPECT_EQ(scene.vela().imagePlanes.coverage, WHITE);

    p.sourceKind = 0;
    readable = false;
    const miColor before{0.3f, 0.2f, 0.1f, 0.7f};
    EXPECT_EQ(shade(&scene.renderer.state, before), before);
    expectBeauty(before);

    p.displayMode = 0;
    expectColor(shade(), behind);
    EXPECT_EQ(levelBehind, -1);
    EXPECT_EQ(scene.slot(0).levelResult, BLACK);
    expectBeauty(behind); // the background, as it would be without the plane
}

TEST_F(ImagePlane, LetsReflectionAndRefractionRaysPassUnseen) {
    const miVector slanted{0.6f, 0, -0.8f};
    for (const miRay_type type : {miRAY_REFLECT, miRAY_REFRACT}) {
        p.reflectionVisible = p.refractionVisible = miFALSE;
        miState parent = scene.renderer.state;
        parent.volume = 17;
        parent.ior_in = 1.25f;
        miState ray = scene.renderer.derived(parent, type);
        ray.dir = slanted;
        ray.volume = 18;
        ray.ior_in = 2.0f;
        auto& trace = type == miRAY_REFLECT ? scene.renderer.traceReflection : scene.renderer.traceRefraction;
        trace = [&](miColor* c, miState* state, miVector* d) -> miBoolean {
            EXPECT_EQ(d->x, slanted.x);
            EXPECT_EQ(traceLevel(state), 0);
            EXPECT_EQ(state->volume, 17u);
            EXPECT_EQ(state->ior_in, type == miRAY_REFRACT ? 1.25f : 2.0f);
            *c = behind;
            return miTRUE;
        };
        expectColor(shade(&ray), behind);
        EXPECT_EQ(traceLevel(&ray), 1);
        EXPECT_EQ(ray.volume, 18u);
        expectBeauty(behind, 1);
        trace = [](miColor*, miState*, miVector*) -> miBoolean { return miFALSE; };
        expectColor(shade(&ray, WHITE, miFALSE), BLACK); // what the ray says is the answer
        (type == miRAY_REFLECT ? p.reflectionVisible : p.refractionVisible) = miTRUE;
        p.displayMode = 2;
        expectColor(shade(&ray), texel);
        p.displayMode = 3;
    }
}

TEST_F(ImagePlane, TellsTheRasterizerItsOpacityInsteadOfTracing) {
    scene.renderer.options.scanline = miSCANLINE_RASTERIZER;
    scene.renderer.state.rast_compose = miTRUE;
    for (const auto& [mode, opacity] : {std::pair{3, 0.25f}, {2, 1.0f}, {0, 0.0f}}) {
        p.displayMode = mode;
        expectColor(shade(), texel * opacity);
        expectColor(scene.renderer.opacity, WHITE * opacity);
    }
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 0);
}

/// A half-transparent yellow plane over a surface, in the picture and in every pass: as a material of its
/// own, and as the surface shader of an engine that lets its colour pass.
TEST_F(ImagePlane, WeighsWhatLiesBehindInPassesAlsoInAnEngine) {
    const miColor diffuse{0.4f, 0.8f, 0.2f, 1};
    texel = {1, 1, 0, 0.5f};
    scene.renderer.traceTransparent = [&](miColor* result, miState* state) -> miBoolean {
        // A surface at the same level, as the engine leaves it.
        EXPECT_EQ(traceLevel(state), -1);
        for (int i = 0; i < 3; ++i) {
            scene.slot(i).levelResult = diffuse;
            scene.slot(i).childResult += (WHITE - scene.slot(i).levelAux) * diffuse;
            scene.slot(i).levelAux = WHITE;
        }
        ++scene.vela().surfacesShaded;
        *result = diffuse;
        return miTRUE;
    };
    Plane plane(scene, imagePlane, p);
    ScriptedShader<ShadingEngineParameters> engine;
    engine.parameters.surfaceShader = 77;
    engine.parameters.mode = 1;
    miState& state = scene.renderer.state;
    scene.renderer.callShader = [&](miColor* result, int, miState*, miTag, void*) {
        *result = plane.shade();
        state.shader = &engine.function;
        return miTRUE;
    };
    miColor inEngine{};
    for (const bool alone : {true, false}) {
        SCOPED_TRACE(alone);
        scene.clear();
        state.shader = &engine.function;
        if (!alone) orcaVelaShadingEngine(&inEngine, &state, &engine.parameters);
        const miColor expected = miColor{0.5f, 0.5f, 0, 1} + diffuse * 0.5f;
        expectColor(alone ? plane.shade() : inEngine, expected);
        expectBeauty(expected);
        expectColor(scene.handedUp(PASS_DIFFUSE), diffuse * 0.5f);
    }
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "orcaImagePlane.h"

#include "flat_material_scene.h"
#include "orcaVelaShadingEngine.h"

namespace {

constexpr MaterialEntry<ImagePlaneParameters, miColor> imagePlane{
    orcaVelaImagePlane_init, orcaVelaImagePlane_exit, orcaVelaImagePlane};
constexpr miTag picture = 61;

/// A plane that the ray meets as a material of its own, with a picture of one colour, over something behind.
class ImagePlane : public ::testing::Test {
protected:
    ImagePlane() {
        scene.renderer.state.tex_list = &coordinate;
        scene.renderer.lookupColor = [this](miColor* result, miState*, miTag tag, miVector* at) -> miBoolean {
            EXPECT_EQ(tag, picture);
            EXPECT_EQ(at->x, coordinate.x);
            if (!readable) return miFALSE;
            *result = texel;
            return miTRUE;
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
        for (int i = 0; i < 2; ++i)
            for (int level = 0; level < 2; ++level) scene.slot(i, level) = {};
        miColor result = before;
        MaterialInstance<ImagePlaneParameters, miColor>(scene, imagePlane, p).shade(result, state, answer);
        return result;
    }
    void expectBeauty(const miColor& expected) {
        expectColor(scene.handedUp(PASS_BEAUTY), expected);
        expectColor(scene.handedUp(PASS_BEAUTY_NO_REFLECTION_REFRACTION), expected);
    }

    MaterialScene scene{{{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}}};
    ImagePlaneParameters p{};
    miVector coordinate{0.25f, 0.75f, 0};
    bool readable = true;
    miColor texel{0.8f, 0.4f, 0.2f, 0.25f};
    miColor behind{0.1f, 0.6f, 0.5f, 1.0f};
    int levelBehind = 100;
};

TEST_F(ImagePlane, ShowsItsPictureAsTheModeSays) {
    const float grey = 0.30f * 0.8f + 0.59f * 0.4f + 0.11f * 0.2f;
    const auto over = [&](const miColor& c) { return withAlpha(c * 0.25f + behind * 0.75f, 1.0f); };
    const struct {
        miInteger mode;
        miColor expected;
    } cases[] = {{2, withAlpha(texel, 1)},
                 {4, over({grey, grey, grey, 1})},
                 {5, over({0.25f, 0.25f, 0.25f, 1})},
                 {1, over(texel)},
                 {3, over(texel)}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        p.displayMode = c.mode;
        levelBehind = 100;
        const miColor seen = shade();
        expectColor(seen, c.expected);
        EXPECT_EQ(seen.a, 1.0f);
        expectBeauty(c.expected);
        EXPECT_EQ(levelBehind, c.mode == 2 ? 100 : -1);
        EXPECT_EQ(scene.renderer.state.refraction_level, 0);
        EXPECT_EQ(scene.vela().flags & VELA_BIT_IMAGEPLANE, 0u);
    }
}

TEST_F(ImagePlane, GainsAndShiftsTheDisplayedColour) {
    texel.a = 1.0f;
    p.colorGain = {2, 0.5f, 1, 1};
    p.colorOffset = {0.1f, -0.1f, 0, 1};
    expectColor(shade(), 1.7f, 0.1f, 0.2f);
    p.displayMode = 5;
    texel.a = 0.25f;
    p.alphaGain = 4.0f;
    expectColor(shade(), 0.6f, 0.025f, 0.25f);
    p.alphaGain = 2.0f;
    expectColor(shade(), miColor{0.6f, 0.025f, 0.25f, 1} * 0.5f + behind * 0.5f);
}

TEST_F(ImagePlane, IsOpaqueOnlyAboveOneHundredThousandthBelowOne) {
    for (const float alpha : {1.0f - 1e-5f, std::nextafter(1.0f - 1e-5f, 2.0f)}) {
        texel.a = alpha;
        const int before = scene.renderer.callCount("mi_trace_transparent");
        const bool opaque = alpha > 1.0f - 1e-5f;
        EXPECT_EQ(shade().a, 1.0f);
        EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent") - before, opaque ? 0 : 1);
    }
}

TEST_F(ImagePlane, SumsUpWhatItCovers) {
    scene.vela().imagePlanes = {BLACK, WHITE, WHITE};
    shade();
    EXPECT_EQ(scene.vela().imagePlanes.coverage,
              WHITE); // by the composited alpha, that of what is behind too
    EXPECT_EQ(scene.vela().imagePlanes.transmission.g, 0.75f);
    EXPECT_EQ(scene.vela().imagePlanes.openness.r, 1.0f);
    texel.a = 1.0f;
    shade();
    EXPECT_EQ(scene.vela().imagePlanes.transmission, BLACK);
    EXPECT_EQ(scene.vela().imagePlanes.openness.r, 0.0f);
}

TEST_F(ImagePlane, ShowsAConstantColourOpaque) {
    p.sourceKind = 1;
    const miColor seen = shade();
    expectColor(seen, p.imageColor);
    EXPECT_EQ(seen.a, 1.0f);
    expectBeauty(p.imageColor);
    EXPECT_EQ(scene.vela().imagePlanes.coverage, WHITE);
}

TEST_F(ImagePlane, KeepsTheResultWhenItsPictureCannotBeRead) {
    readable = false;
    const miColor before{0.3f, 0.2f, 0.1f, 0.7f};
    EXPECT_EQ(shade(&scene.renderer.state, before), before);
    expectBeauty(before);
}

TEST_F(ImagePlane, LeavesNoTraceWhenHidden) {
    p.displayMode = 0;
    expectColor(shade(), behind);
    EXPECT_EQ(levelBehind, -1);
    EXPECT_EQ(scene.slot(0).levelResult, BLACK);
    expectBeauty(behind); // the background, as it would be without the plane
}

TEST_F(ImagePlane, LetsReflectionAndRefractionRaysPassUnseen) {
    p.reflectionVisible = p.refractionVisible = miFALSE;
    const miVector slanted{0.6f, 0, -0.8f};
    const auto expectPassed = [&](miRay_type type,
                                  std::function<miBoolean(miColor*, miState*, miVector*)>& hook) {
        miState parent = scene.renderer.state;
        parent.volume = 17;
        parent.ior_in = 1.25f;
        miState ray = scene.renderer.derived(parent, type);
        ray.dir = slanted;
        ray.volume = 18;
        ray.ior_in = 2.0f;
        hook = [&](miColor* c, miState* state, miVector* d) -> miBoolean {
            EXPECT_EQ(d->x, slanted.x);
            EXPECT_EQ(traceLevel(state), 0);
            EXPECT_EQ(state->volume, 17u);
            if (type == miRAY_REFRACT) {
                EXPECT_EQ(state->ior_in, 1.25f);
            }
            *c = behind;
            return miTRUE;
        };
        expectColor(shade(&ray), behind);
        EXPECT_EQ(traceLevel(&ray), 1);
        EXPECT_EQ(ray.volume, 18u);
        expectColor(scene.handedUp(PASS_BEAUTY, 1), behind);
    };
    expectPassed(miRAY_REFLECT, scene.renderer.traceReflection);
    expectPassed(miRAY_REFRACT, scene.renderer.traceRefraction);
    // What the ray says is the answer.
    scene.renderer.traceReflection = [](miColor*, miState*, miVector*) -> miBoolean { return miFALSE; };
    scene.renderer.traceRefraction = scene.renderer.traceReflection;
    for (const miRay_type type : {miRAY_REFLECT, miRAY_REFRACT}) {
        miState unseen = scene.renderer.derived(scene.renderer.state, type);
        expectColor(shade(&unseen, WHITE, miFALSE), BLACK);
    }
    p.reflectionVisible = miTRUE;
    texel.a = 1.0f;
    miState ray = scene.renderer.derived(scene.renderer.state, miRAY_REFLECT);
    expectColor(shade(&ray), texel);
}

TEST_F(ImagePlane, TellsTheRasterizerItsOpacityInsteadOfTracing) {
    scene.renderer.options.scanline = miSCANLINE_RASTERIZER;
    scene.renderer.state.rast_compose = miTRUE;
    expectColor(shade(), texel * 0.25f);
    expectColor(scene.renderer.opacity, 0.25f, 0.25f, 0.25f);
    p.displayMode = 2;
    expectColor(shade(), texel);
    expectColor(scene.renderer.opacity, WHITE);
    p.displayMode = 0;
    expectColor(shade(), BLACK);
    expectColor(scene.renderer.opacity, BLACK);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_transparent"), 0);
}

TEST_F(ImagePlane, GetsTheCamerasVolumeWhereThereIsNone) {
    scene.renderer.camera.volume = 23;
    shade();
    EXPECT_EQ(scene.renderer.state.volume, 23u);
}

/// A half-transparent yellow plane over a surface, in the picture and in every pass: as a material of its
/// own, and as the surface shader of an engine that lets its colour pass.
TEST(ImagePlanePasses, WeighWhatLiesBehind) {
    for (const bool inEngine : {false, true}) {
        SCOPED_TRACE(inEngine);
        MaterialScene scene({{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_DIFFUSE, "5"}});
        const miColor diffuse{0.4f, 0.8f, 0.2f, 1};
        scene.renderer.lookupColor = [](miColor* result, miState*, miTag, miVector*) -> miBoolean {
            *result = {1, 1, 0, 0.5f};
            return miTRUE;
        };
        scene.renderer.traceTransparent = [&](miColor* result, miState* state) -> miBoolean {
            // A surface at the same level, as the engine leaves it.
            EXPECT_EQ(traceLevel(state), -1);
            for (int i = 0; i < 2; ++i) {
                scene.slot(i).levelResult = diffuse;
                scene.slot(i).childResult += (WHITE - scene.slot(i).levelAux) * diffuse;
                scene.slot(i).levelAux = WHITE;
            }
            ++scene.vela().surfacesShaded;
            *result = diffuse;
            return miTRUE;
        };
        ImagePlaneParameters p{};
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        p.displayMode = 3;
        p.imageTexture = picture;
        p.colorGain = WHITE;
        p.alphaGain = 1.0f;
        MaterialInstance<ImagePlaneParameters, miColor> plane(scene, imagePlane, p);
        ScriptedShader<ShadingEngineParameters> engine;
        engine.parameters.surfaceShader = 77;
        engine.parameters.mode = 1;
        scene.renderer.callShader = [&](miColor* result, int, miState* state, miTag, void*) {
            plane.shade(*result, state);
            state->shader = &engine.function;
            return miTRUE;
        };
        miColor seen{};
        miState& state = scene.renderer.state;
        state.shader = &engine.function;
        if (inEngine) orcaVelaShadingEngine(&seen, &state, &engine.parameters);
        else plane.shade(seen, &state);

        const miColor expected = miColor{0.5f, 0.5f, 0, 1} + diffuse * 0.5f;
        expectColor(seen, expected);
        expectColor(scene.handedUp(PASS_BEAUTY), expected);
        expectColor(scene.handedUp(PASS_DIFFUSE), diffuse * 0.5f);
    }
}

} // namespace

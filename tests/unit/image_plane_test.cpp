// SPDX-License-Identifier: Apache-2.0
#include "orcaImagePlane.h"

#include "material_scene.h"

#include <cmath>

namespace {

using Plane = MaterialInstance<ImagePlaneParameters, miColor>;

/// A plane that the ray meets as a material of its own, with a picture of one colour, over something behind.
class ImagePlane : public ::testing::Test {
protected:
    ImagePlane() {
        state.tex_list = &coordinate;
        scene.renderer.lookupColor = [this](miColor* result, miState*, miTag, miVector* at) -> miBoolean {
            EXPECT_EQ(at->x, coordinate.x);
            if (readable) *result = texel;
            return readable;
        };
        scene.renderer.traceTransparent = [this](miColor* result, miState* from) -> miBoolean {
            levelBehind = from->refraction_level;
            *result = behind;
            return miTRUE;
        };
        p.passWriteMode = 1;
        p.passWriteScale = 1.0f;
        p.imageColor = {0.2f, 0.3f, 0.4f, 0.5f};
        p.displayMode = 3;
        p.colorGain = WHITE;
        p.alphaGain = 1.0f;
    }
    /// @param before the result when the shader is called
    miColor shade(miState* from, const miColor& before = BLACK, miBoolean answer = miTRUE) {
        scene.clear();
        return Plane(scene, MATERIAL_ENTRY(orcaVelaImagePlane), p).shade(from, before, answer);
    }
    void expectBeauty(const miColor& expected, int level = 0) {
        expectColor(scene.handedUp(PASS_BEAUTY, level), expected);
        expectColor(scene.handedUp(PASS_BEAUTY_NO_REFLECTION_REFRACTION, level), expected);
    }

    MaterialScene scene{{{PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "34"}}};
    miState& state = scene.renderer.state;
    ImagePlaneParameters p{};
    miVector coordinate{0.25f, 0.75f, 0};
    bool readable = true;
    miColor texel{0.8f, 0.4f, 0.2f, 0.25f}, behind{0.1f, 0.6f, 0.5f, 1.0f};
    int levelBehind = 100;
};

TEST_F(ImagePlane, ShowsItsPictureAsTheModeSaysOverWhatIsBehind) {
    const float grey = 0.30f * 0.8f + 0.59f * 0.4f + 0.11f * 0.2f, nearlyOpaque = 1.0f - 1e-5f;
    struct {
        miInteger mode;
        float alpha, alphaGain;
        miColor gain, offset, shown;
    } const cases[] = {{2, 0.25f, 1, WHITE, BLACK, texel},
                       {4, 0.25f, 1, WHITE, BLACK, {grey, grey, grey, 1}},
                       {5, 0.25f, 1, WHITE, BLACK, {0.25f, 0.25f, 0.25f, 1}},
                       {1, 0.25f, 2, {2, 0.5f, 1, 1}, {0.1f, -0.1f, 0, 1}, {1.7f, 0.1f, 0.2f, 1}},
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
        const miColor seen = shade(&state);
        const bool opaque = c.mode == 2 || c.alpha * c.alphaGain > nearlyOpaque;
        const float alpha = opaque ? 1.0f : c.alpha * c.alphaGain;
        expectColor(seen, c.shown * alpha + behind * (1.0f - alpha));
        EXPECT_EQ(seen.a, 1.0f);
        expectBeauty(seen);
        EXPECT_EQ(levelBehind, opaque ? 100 : -1);
        EXPECT_EQ(scene.vela().imagePlanes.coverage,
                  WHITE); // by the composited alpha, also of what is behind
        EXPECT_EQ(scene.vela().imagePlanes.transmission.g, 1.0f - alpha);
        EXPECT_EQ(scene.vela().imagePlanes.openness.r, opaque ? 0.0f : 1.0f);
        EXPECT_EQ(state.volume, 23u); // the camera's, where there is none
    }
}

TEST_F(ImagePlane, ShowsAColourInsteadOrNothingOrWhatWasThere) {
    p.sourceKind = 1;
    expectColor(shade(&state), p.imageColor);
    expectBeauty(p.imageColor);
    p.sourceKind = 0;
    readable = false;
    EXPECT_EQ(shade(&state, WHITE * 0.5f), WHITE * 0.5f);
    expectBeauty(WHITE * 0.5f);
    p.displayMode = 0;
    expectColor(shade(&state), behind);
    expectBeauty(behind); // the background, as it would be without the plane
}

TEST_F(ImagePlane, LetsReflectionAndRefractionRaysPassUnseen) {
    for (const miRay_type type : {miRAY_REFLECT, miRAY_REFRACT}) {
        miState parent = state;
        parent.volume = 17;
        parent.ior_in = 1.25f;
        miState ray = scene.renderer.derived(parent, type);
        ray.dir = {0.6f, 0, -0.8f};
        ray.volume = 18;
        ray.ior_in = 2.0f;
        auto& trace = type == miRAY_REFLECT ? scene.renderer.traceReflection : scene.renderer.traceRefraction;
        trace = [&](miColor* c, miState* from, miVector* d) -> miBoolean {
            EXPECT_EQ(d->x, 0.6f);
            EXPECT_EQ(traceLevel(from), 0);
            EXPECT_EQ(from->volume, 17u);
            EXPECT_EQ(from->ior_in, type == miRAY_REFRACT ? 1.25f : 2.0f);
            *c = behind;
            return miTRUE;
        };
        expectColor(shade(&ray), behind);
        EXPECT_EQ(traceLevel(&ray), 1);
        EXPECT_EQ(ray.volume, 18u);
        expectBeauty(behind, 1);
        trace = [](miColor*, miState*, miVector*) -> miBoolean { return miFALSE; };
        expectColor(shade(&ray, WHITE, miFALSE), BLACK); // what the ray says is the answer
    }
}

TEST_F(ImagePlane, TellsTheRasterizerItsOpacityInsteadOfTracing) {
    scene.renderer.options.scanline = miSCANLINE_RASTERIZER;
    state.rast_compose = miTRUE;
    for (const auto& [mode, opacity] : {std::pair{3, 0.25f}, {2, 1.0f}, {0, 0.0f}}) {
        p.displayMode = mode;
        expectColor(shade(&state), texel * opacity);
        expectColor(scene.renderer.opacity.value(), WHITE * opacity);
    }
    EXPECT_EQ(levelBehind, 100);
}

} // namespace

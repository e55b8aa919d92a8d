// SPDX-License-Identifier: Apache-2.0
#include "orcaComposite.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

namespace {

struct ModeCase {
    int mode;
    int gather;
    miInteger a, b;
    miUint mask;
};
class CompositeModes : public ::testing::TestWithParam<ModeCase> {};

TEST_P(CompositeModes, SayWhichComponentsAreNeeded) {
    const ModeCase& expected = GetParam();
    ScriptedRenderer renderer;
    renderer.answer(miQ_FINALGATHER_STATE, expected.gather);
    if (expected.gather < 0) renderer.refuse(miQ_FINALGATHER_STATE);
    bc record{-1, 7, 8, 0x999};
    bc_construct(&record, expected.mode, &renderer.state);
    EXPECT_EQ(record.mode, expected.mode);
    EXPECT_EQ(record.a, expected.a);
    EXPECT_EQ(record.b, expected.b);
    EXPECT_EQ(record.componentMask, expected.mask);
}
INSTANTIATE_TEST_SUITE_P(Modes, CompositeModes,
                         ::testing::Values(ModeCase{0, 0, 1, 1, 0x74F}, ModeCase{1, 0, 1, 0, 0x797},
                                           ModeCase{2, 0, 1, 1, 0x20}, ModeCase{3, 0, 0, 0, 0x1},
                                           ModeCase{4, 0, 1, 0, 0x617}, ModeCase{5, 0, 1, 0, 0x180},
                                           ModeCase{6, 0, 0, 1, 0x304}, ModeCase{6, 1, 1, 1, 0x74F},
                                           ModeCase{6, -1, 0, 1, 0x304}, ModeCase{7, 0, 7, 8, 0x999},
                                           ModeCase{-3, 0, 7, 8, 0x999}));

/// Inputs of which no two are alike, in binary fractions so that sums are exact.
class Composite : public ::testing::Test {
protected:
    static constexpr miColor of(float v) { return {v, 2 * v, 3 * v, 4 * v}; }
    miColor refraction = of(1 / 64.0f), scatter = of(1 / 32.0f);
    CompositeInputs inputs{};
    SurfaceShaderReturnType result{};
    bc record{};

    void SetUp() override {
        inputs.ambient = of(1);
        inputs.incandescence = of(2);
        inputs.indirect = of(4);
        inputs.diffuse = of(8);
        inputs.diffuseUnshadowed = of(16);
        inputs.specular = of(32);
        inputs.specularUnshadowed = of(64);
        inputs.reflection = of(128);
        inputs.refraction = &refraction;
        inputs.scatter = &scatter;
        inputs.transparency = {0.5f, 0.0f, 1.0f, 0.25f};
        inputs.matteRule = MATTE_OPACITY_GAIN;
        inputs.matteOpacity = 0.5f;
        result.transparency = {0.25f, 0.5f, 1.0f, 0.5f};
    }
    void compose(miUint mask, miInteger mode = RENDER_MODE_FULL) {
        record = {mode, 1, 1, mask};
        bc_composite(&record, &result, &inputs);
    }
    /// v of red with transparency 0.5, in green (opaque) and blue (clear), alpha 0.25.
    static miColor covered(float v) { return {0.5f * v, 2 * v, 0.0f, 0.75f * 4 * v}; }
    static miColor sum(const miColor& a, const miColor& b) {
        return {a.r + b.r, a.g + b.g, a.b + b.b, a.a + b.a};
    }
};

TEST_F(Composite, GlowTakesItsShareBeforeReflectionAndOutlivesClearing) {
    inputs.glow = 0.5f;
    inputs.specularGlow = 0.25f;
    inputs.clear = true;
    compose(0x74B);
    const miColor covering = sum(covered(8 + 1 + 1 / 32.0f), of(2));
    const miColor bright = of(32 + 1 / 64.0f);
    EXPECT_EQ(result.glowColor,
              (miColor{0.5f * covering.r + 0.25f * bright.r, 0.5f * covering.g + 0.25f * bright.g,
                       0.5f * covering.b + 0.25f * bright.b, 0.5f * covering.a + 0.25f * bright.a}));
    EXPECT_EQ(result.color, miColor{});
    EXPECT_EQ(result.reflection, miColor{});
}

TEST_F(Composite, InputsOfOtherModesAreLeftOut) {
    compose(0x1);
    EXPECT_EQ(result.color, covered(1));
    inputs.refraction = inputs.scatter = nullptr;
    compose(0x500);
    EXPECT_EQ(result.color, miColor{});
}

TEST_F(Composite, TheMatteFollowsItsRule) {
    const auto matte = [&](int rule) {
        result.matteOpacity = {9, 9, 9, 9};
        result.color = {};
        inputs.matteRule = rule;
        compose(0x8);
        return result.matteOpacity;
    };
    EXPECT_EQ(matte(MATTE_SOLID), (miColor{0.5f, 0.5f, 0.5f, 9}));
    EXPECT_EQ(matte(MATTE_OPACITY_GAIN), (miColor{0.375f, 0.25f, 0.0f, 9}));
    EXPECT_EQ(matte(5), (miColor{9, 9, 9, 9}));
    EXPECT_EQ(result.color, covered(8));
    EXPECT_EQ(matte(MATTE_BLACK_HOLE), (miColor{-1e6f, -1e6f, -1e6f, 9}));
    EXPECT_EQ(result.color, miColor{}); // nothing else is composed
}

} // namespace

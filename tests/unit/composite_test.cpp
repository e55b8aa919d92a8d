// SPDX-License-Identifier: Apache-2.0
#include "orcaComposite.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

namespace {

/// Inputs of which no two are alike, in binary fractions so that sums are exact.
class Composite : public ::testing::Test {
protected:
    static constexpr miColor of(float v) { return {v, 2 * v, 3 * v, 4 * v}; }
    void compose(miUint mask) {
        result = {};
        result.transparency = {0.25f, 0.5f, 1.0f, 0.5f};
        result.matteOpacity = of(9);
        const bc record{RENDER_MODE_FULL, 1, 1, mask};
        bc_composite(&record, &result, &inputs);
    }
    /// What shows through a transparency of 0.5 in red, 0 in green, 1 in blue, and 0.25 in alpha.
    static miColor covered(float v) { return {0.5f * v, 2 * v, 0.0f, 0.75f * 4 * v}; }

    const miColor refraction = of(1 / 64.0f), scatter = of(1 / 32.0f);
    CompositeInputs inputs{};
    SurfaceShaderReturnType result{};

    void SetUp() override {
        inputs.ambient = of(1);
        inputs.incandescence = of(2);
        inputs.diffuse = of(8);
        inputs.specular = of(32);
        inputs.reflection = of(128);
        inputs.refraction = &refraction;
        inputs.scatter = &scatter;
        inputs.transparency = {0.5f, 0.0f, 1.0f, 0.25f};
        inputs.matteRule = MATTE_OPACITY_GAIN;
        inputs.matteOpacity = 0.5f;
    }
};

TEST_F(Composite, GlowTakesItsShareBeforeReflectionAndOutlivesClearing) {
    inputs.glow = 0.5f;
    inputs.specularGlow = 0.25f;
    inputs.clear = true;
    compose(0x74B);
    EXPECT_EQ(result.glowColor.r, 0.5f * (covered(9 + 1 / 32.0f).r + 2) + 0.25f * (32 + 1 / 64.0f));
    EXPECT_EQ(result.color, miColor{});
    EXPECT_EQ(result.reflection, miColor{});
}

TEST_F(Composite, LeavesInputsOfOtherModesOutAndTheMatteToItsRule) {
    compose(0x1);
    EXPECT_EQ(result.color, covered(1));
    const std::pair<int, miColor> mattes[] = {{MATTE_SOLID, {0.5f, 0.5f, 0.5f, 36}},
                                              {MATTE_OPACITY_GAIN, {0.375f, 0.25f, 0.0f, 36}},
                                              {5, of(9)},
                                              {MATTE_BLACK_HOLE, {-1e6f, -1e6f, -1e6f, 36}}};
    for (const auto& [rule, matte] : mattes) {
        inputs.matteRule = static_cast<MatteRule>(rule);
        compose(0x8);
        EXPECT_EQ(result.matteOpacity, matte);
        EXPECT_EQ(result.color, rule == MATTE_BLACK_HOLE ? miColor{} : covered(8)); // of a hole nothing else
    }
    inputs.matteRule = MATTE_SOLID;
    inputs.refraction = inputs.scatter = nullptr;
    compose(0x500);
    EXPECT_EQ(result.color, miColor{});
}

} // namespace

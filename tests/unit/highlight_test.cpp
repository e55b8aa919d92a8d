// SPDX-License-Identifier: Apache-2.0
#include "oracle/pipeline_oracle.h"
#include "orcaAnisotropicFacets.h"
#include "orcaColorSpace.h"
#include "orcaSpecular.h"
#include "orcaVector.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Highlights : ::testing::Test {
    ScriptedRenderer renderer;
    miState& state = renderer.state; // looks straight onto the surface
};

TEST_F(Highlights, BlinnPeaksAtOneWhenRoundingCarriesTheCosinePastIt) {
    for (const float tooLong : {1.0f, 1.0f + 1.2e-7f, 1.0f + 3e-7f})
        for (int i = 1; i < 4000; ++i) {
            const miVector n{0.0f, 0.0f, tooLong};
            const float e = 1e-6f * static_cast<float>(i);
            EXPECT_LE(compute_blinn_specular(&state.normal, &n, &state, 1.0f, 1.0f, e, 1.0f, 1.0f), 1.001f)
                << e;
        }
}

TEST_F(Highlights, OfPhongKeepAFaintTailFarFromTheMirrorDirection) {
    const miVector mirror{0.0f, 0.0f, 1.0f}, aside{std::sqrt(0.75f), 0.0f, 0.5f};
    EXPECT_NEAR(compute_phong_specular(&mirror, &aside, &state, 20.0f, 1.0f), std::exp(-10.0), 1e-7);
}

TEST_F(Highlights, OfAnisotropicFacetsFollowTheTexturesDirectionsTurned) {
    miVector u{0.0f, 3.0f, 1.0f}, v{-2.0f, 0.0f, 0.0f}, du, dv;
    EXPECT_FALSE(get_derivs(&state, &du, &dv));
    AnisotropicFacets f = anisotropicFacets(&state, 0.0f, 0.1f, 0.2f); // any tangent will do
    EXPECT_NEAR(f.along.z, 0.0f, 1e-6f);
    state.bump_x_list = &u;
    state.bump_y_list = &v;
    ASSERT_TRUE(get_derivs(&state, &du, &dv));
    f = anisotropicFacets(&state, 0.0f, 0.1f, 0.2f);
    EXPECT_NEAR(f.along.y, 1.0f, 1e-6f); // u, laid into the surface
    EXPECT_NEAR(f.across.x, -1.0f, 1e-6f);
    state.derivs[0] = v; // derivatives come before a bump basis
    state.derivs[1] = u;
    f = anisotropicFacets(&state, 30.0f, 0.1f, 0.2f);
    EXPECT_NEAR(f.along.x, -std::sqrt(0.75f), 1e-6f);
    EXPECT_NEAR(f.along.y, -0.5f, 1e-6f);
    reference::Random random(9);
    for (int i = 0; i < 500; ++i) {
        state.dir = random.direction();
        const miVector light = random.direction();
        const double glint = reference::anisotropic(f.normal, f.along, f.across, f.alphaAlong, f.alphaAcross,
                                                    light, state.dir);
        EXPECT_NEAR(compute_anisotropic_specular(&f, &light, &state), glint, 1e-3 * (1.0 + glint)) << i;
    }
}

TEST(ColorSpace, GoesThereAndBack) {
    struct {
        miColor rgb, hsv;
    } const known[] = {{{1, 0, 0, 1}, {0, 1, 1, 1}},
                       {{0, 0.5f, 0, 1}, {1 / 3.0f, 1, 0.5f, 1}},
                       {{0, 0, 4, 0.5f}, {2 / 3.0f, 1, 4, 0.5f}},
                       {{0.5f, 0.5f, 0.5f, 1}, {0, 0, 0.5f, 1}},
                       {{0, 0, 0, 1}, {0, 0, 0, 1}},
                       {{1, 0.5f, 0.75f, 1}, {11 / 12.0f, 0.5f, 1, 1}}};
    for (const auto& [rgb, hsv] : known) {
        miColor c = rgb;
        rgb_to_hsv(&c, &c);
        EXPECT_NEAR(c.r, hsv.r, 1e-6f);
        EXPECT_NEAR(c.g, hsv.g, 1e-6f);
        EXPECT_EQ(c.b, hsv.b);
        c.r -= 3.0f; // hues go round
        hsv_to_rgb(&c, &c);
        EXPECT_NEAR(c.r, rgb.r, 3e-6f);
        EXPECT_NEAR(c.g, rgb.g, 3e-6f);
        EXPECT_NEAR(c.b, rgb.b, 3e-6f);
        EXPECT_EQ(c.a, rgb.a);
    }
}

} // namespace

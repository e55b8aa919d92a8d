// SPDX-License-Identifier: Apache-2.0
#include "orcaNoise.h"

#include "scripted_renderer.h"

#include <gtest/gtest.h>

namespace {

TEST(NoiseTables, TakeAnyIndex) {
    EXPECT_EQ(noise_table_scalar(-5), NoiseTable[5]);
    EXPECT_EQ(noise_table_scalar(65535), NoiseTable[0]);
    EXPECT_EQ(noise_table_scalar(-2147483647 - 1), NoiseTable[2147483648u % 65535u]);
    EXPECT_EQ(noise_table_vector(10).z, NoiseTable[12]);
    EXPECT_EQ(noise_table_vector(65534).y, NoiseTable[0]);
    EXPECT_EQ(noise_table_vector(-1).x, NoiseTable[4294967295u % 65535u]);
    miUint seed = 0;
    EXPECT_EQ(noise_frand(&seed), 13849.0f / 65535.0f);
    EXPECT_EQ(seed, 13849u);
    EXPECT_EQ(noise_drand(&seed), static_cast<double>((13849u * 25173u + 13849u) & 0xFFFFu) / 65535.0);
}

TEST(ValueNoise, InOneDimensionHasItsPeculiarFirstAndLastCell) {
    const struct {
        double x;
        int first; // of the three values
        float t;
    } cases[] = {{0.5 / 32, 0, -0.5f}, {5.25 / 32, 4, 0.25f}, {31.5 / 32, 30, 0.5f}, {1.0, 0, -1.0f}};
    for (const auto& [x, first, t] : cases) {
        const float p = NoiseTable[first], c = NoiseTable[first + 1], n = NoiseTable[first + 2];
        EXPECT_NEAR(noise_scalar_1d(x), 0.25f * (p + c - 2 * t * (p - c) + t * t * (p - 2 * c + n)), 1e-6)
            << x;
    }
}

TEST(GradientNoise, IsMadeOfUnitVectorsBuiltOnceUnderTheLock) {
    ScriptedRenderer renderer;
    gradientNoiseTable = nullptr;
    EXPECT_EQ(noise_gradient_3d(0.3f, 0.4f, 0.5f), 0.0f);
    for (int i = 0; i < 2; ++i) noise_gradient_init(&renderer.state);
    ASSERT_NE(gradientNoiseTable, nullptr);
    EXPECT_EQ(renderer.callCount("mi_lock"), 2);
    EXPECT_EQ(renderer.callCount("mi_srandom"), 1);
    EXPECT_EQ(renderer.locksHeld, 0);
    miVector sum{};
    for (int i = 0; i < NOISE_TABLE_SIZE; ++i) {
        ASSERT_NEAR(mi_vector_norm(&gradientNoiseTable[i]), 1.0f, 1e-5);
        mi_vector_add(&sum, &sum, &gradientNoiseTable[i]);
    }
    EXPECT_NEAR(mi_vector_norm(&sum) / NOISE_TABLE_SIZE, 0.0, 0.03);
    gradientNoiseTable = nullptr; // the scripted renderer takes its memory along
}

} // namespace

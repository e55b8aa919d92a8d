// SPDX-License-Identifier: Apache-2.0
#include "orcaNoise.h"

#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

namespace {

TEST(NoiseTables, AreEvenOverTheirRangeAndAPermutation) {
    const std::vector<float> values(NoiseTable, NoiseTable + NOISE_TABLE_SIZE);
    double sum = 0;
    std::vector<int> bins(64, 0);
    for (const float v : values) {
        ASSERT_GT(v, -1.0f);
        ASSERT_LT(v, 1.0f);
        sum += v;
        ++bins[static_cast<std::size_t>((v + 1.0f) * 32.0f)];
    }
    EXPECT_NEAR(sum / NOISE_TABLE_SIZE, 0.0, 1e-3);
    for (const int count : bins) EXPECT_NEAR(count, 1024, 8);
    // Neighbours know nothing of each other.
    double correlation = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        correlation += static_cast<double>(values[i]) * values[i - 1];
    EXPECT_LT(std::abs(correlation / NOISE_TABLE_SIZE), 0.01);
    EXPECT_EQ(NoiseTable[0], -0.510765f);
    EXPECT_EQ(NoiseTable[3], 0.514013f);

    EXPECT_EQ(std::set<unsigned char>(PermutationArray, PermutationArray + 256).size(), 256u);
    EXPECT_EQ(PermutationArray[0], 225);
    EXPECT_EQ(PermutationArray[7], 144);
}

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
    const auto quadratic = [](float p, float c, float n, float t) {
        return p + c - 2 * t * (p - c) + t * t * (p - 2 * c + n);
    };
    const float* v = NoiseTable;
    EXPECT_NEAR(noise_scalar_1d(0.5 / 32), 0.25f * quadratic(v[0], v[1], v[2], -0.5f), 1e-6);
    EXPECT_NEAR(noise_scalar_1d(5.25 / 32), 0.25f * quadratic(v[4], v[5], v[6], 0.25f), 1e-6);
    EXPECT_NEAR(noise_scalar_1d(31.5 / 32), 0.25f * quadratic(v[30], v[31], v[32], 0.5f), 1e-6);
    EXPECT_EQ(noise_scalar_1d(1.0), noise_scalar_1d(0.0));
}

TEST(GradientNoise, IsMadeOfUnitVectorsBuiltOnceUnderTheLock) {
    ScriptedRenderer renderer;
    gradientNoiseTable = nullptr;
    EXPECT_EQ(noise_gradient_3d(0.3f, 0.4f, 0.5f), 0.0f);
    noise_gradient_init(&renderer.state);
    ASSERT_NE(gradientNoiseTable, nullptr);
    const miVector* const built = gradientNoiseTable;
    noise_gradient_init(&renderer.state);
    EXPECT_EQ(gradientNoiseTable, built);
    EXPECT_EQ(renderer.callCount("mi_lock"), 2);
    EXPECT_EQ(renderer.callCount("mi_srandom"), 1);
    EXPECT_EQ(renderer.locksHeld, 0);

    double mean[3] = {0, 0, 0};
    for (int i = 0; i < NOISE_TABLE_SIZE; ++i) {
        ASSERT_NEAR(mi_vector_norm(&gradientNoiseTable[i]), 1.0f, 1e-5);
        mean[0] += gradientNoiseTable[i].x;
        mean[1] += gradientNoiseTable[i].y;
        mean[2] += gradientNoiseTable[i].z;
    }
    for (const double m : mean) EXPECT_NEAR(m / NOISE_TABLE_SIZE, 0.0, 0.02);
    gradientNoiseTable = nullptr; // the scripted renderer takes its memory along
}

} // namespace

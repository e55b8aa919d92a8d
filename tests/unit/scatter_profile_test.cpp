// SPDX-License-Identifier: Apache-2.0
#include "orcaScatterProfile.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

TEST(ScatterProfile, SendsBackAllOfTheLightWhateverItsAlbedoAndPath) {
    for (const float albedo : {0.1f, 0.8f, 1.0f})
        for (const float path : {0.01f, 1.0f, 30.0f}) {
            const ScatterProfile profile(albedo, path);
            // Light between the entry and a distance, by numeric integration.
            for (const auto& [limit, share] :
                 {std::pair{profile.reach(), 1.0f}, {0.7f * path, profile.within(0.7f * path)}}) {
                constexpr int steps = 20000;
                double sum = 0.0;
                for (int i = 0; i < steps; ++i) {
                    const float r = limit * (static_cast<float>(i) + 0.5f) / steps;
                    sum += profile(r) * 2.0 * std::numbers::pi * r;
                }
                EXPECT_NEAR(sum * limit / steps, share, 3e-3) << albedo << ' ' << path;
            }
            constexpr int count = 10000;
            int inside = 0;
            for (int i = 0; i < count; ++i) {
                const float r = profile.distance((static_cast<float>(i) + 0.5f) / count);
                ASSERT_TRUE(r >= 0.0f && r <= profile.reach() * 1.0001f);
                inside += r < 0.7f * path;
            }
            // The last thousandth is left out, so all that is nearer gets its share.
            EXPECT_NEAR(inside / static_cast<double>(count), profile.within(0.7f * path), 1.2e-3);
            EXPECT_FALSE(profile.isPoint());
        }
    for (const float path : {0.0f, -1.0f}) EXPECT_TRUE(ScatterProfile(0.5f, path).isPoint());
}

} // namespace

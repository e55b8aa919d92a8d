// SPDX-License-Identifier: Apache-2.0
#include "orcaScatterProfile.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

/// Light that the profile sends back between two distances from where it entered, by numeric integration.
double between(const ScatterProfile& profile, double from, double to) {
    constexpr int steps = 20000;
    double sum = 0.0;
    for (int i = 0; i < steps; ++i) {
        const double r = from + (to - from) * (i + 0.5) / steps;
        sum += profile(static_cast<float>(r)) * 2.0 * std::numbers::pi * r;
    }
    return sum * (to - from) / steps;
}

TEST(ScatterProfile, SendsBackAllOfTheLightWhateverItsAlbedoAndPath) {
    for (const float albedo : {0.1f, 0.8f, 1.0f})
        for (const float path : {0.01f, 1.0f, 30.0f}) {
            const ScatterProfile profile(albedo, path);
            EXPECT_NEAR(between(profile, 0.0, profile.reach()), 1.0, 3e-3) << albedo << ' ' << path;
            const double r = path * 0.7;
            EXPECT_NEAR(between(profile, 0.0, r), profile.within(static_cast<float>(r)), 3e-3)
                << albedo << ' ' << path;
        }
}

TEST(ScatterProfile, PlacesItsDistancesAsTheLightFalls) {
    const ScatterProfile profile(0.7f, 2.0f);
    constexpr int count = 100000;
    for (const float limit : {0.2f, 1.0f, 3.0f, 8.0f}) {
        int inside = 0;
        for (int i = 0; i < count; ++i) {
            const float r = profile.distance((static_cast<float>(i) + 0.5f) / count);
            ASSERT_GE(r, 0.0f);
            ASSERT_LE(r, profile.reach() * 1.0001f);
            inside += r < limit;
        }
        // The last thousandth is left out, so all that is nearer gets its share.
        EXPECT_NEAR(inside / static_cast<double>(count), profile.within(limit), 1.2e-3) << limit;
    }
}

TEST(ScatterProfile, IsAPointWithoutAPath) {
    EXPECT_TRUE(ScatterProfile(0.5f, 0.0f).isPoint());
    EXPECT_TRUE(ScatterProfile(0.5f, -1.0f).isPoint());
    EXPECT_FALSE(ScatterProfile(0.5f, 1e-3f).isPoint());
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "orcaVector.h"
#include "velaFurGrowth.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

/// Length of cubic curves, by many chords.
float lengthOf(const std::vector<miVector>& points) {
    float sum = 0.0f;
    for (std::size_t first = 0; first + 3 < points.size(); first += 3) {
        miVector before = points[first];
        for (int i = 1; i <= 100; ++i) {
            const float u = float(i) / 100, w = 1 - u;
            const miVector at = points[first] * (w * w * w) + points[first + 1] * (3 * w * w * u) +
                                points[first + 2] * (3 * w * u * u) + points[first + 3] * (u * u * u);
            sum += length(at - before);
            before = at;
        }
    }
    return sum;
}

TEST(FurGrowth, HairsAreAsLongAndLeanAsTold) {
    const FurRoot root{{1, 2, 3}, {0, 1, 0}, {1, 0, 0}, {0, 0, 0.3f}, 5};
    std::vector<miVector> points;
    for (const float inclination : {0.0f, 0.9f})
        for (const float bend : {0.0f, 0.8f, -1.2f})
            for (const int segments : {1, 4}) {
                growHair(root, {2, inclination, bend, 0, 0, 0, 0, 0, 1}, segments, points);
                ASSERT_EQ(points.size(), std::size_t(3 * segments + 1));
                EXPECT_NEAR(lengthOf(points), 2.0f, 0.01f);
                const miVector atRoot = normalized(points[1] - points[0]),
                               atTip = normalized(points.back() - points.end()[-2]);
                EXPECT_NEAR(atRoot.x, std::sin(inclination), 0.01f);
                EXPECT_NEAR(atTip.x, std::sin(inclination + bend), 0.01f);
                EXPECT_EQ(points[0].z, 3.0f);
            }
    growHair(root, {2, 0, 0, 0, 0, 0.5f, 0, 0, 1}, 2, points);
    EXPECT_NEAR(length(points.back() - miVector{1, 4, 3.15f}), 0.0f, 1e-5f); // half of the way to its tuft
    growHair(root, {2, 0, 0, 0.1f, 3, 0, 0, 0, 1}, 12, points);
    for (std::size_t k = 18; k < points.size(); k += 3) // on a cylinder once the curls are wide
        EXPECT_NEAR(std::hypot(points[k].x - 1, points[k].z - 3), 0.1f, 1e-4f);
    growHair(root, {2, 0, 0, 0, 0, 0, 0.4f, 2, 1}, 4, points);
    const miVector tip = points.back();
    EXPECT_GT(length(tip - miVector{1, 4, 3}), 1e-3f);
    EXPECT_LT(length(tip - miVector{1, 4, 3}), 0.7f);
}

TEST(FurGrowth, NeighboursShareATuftAndStrangersDoNot) {
    int together = 0;
    for (int i = 0; i < 100; ++i) {
        const miVector p{0.013f * float(i), 0.5f, -1.2f}, q = p + miVector{0.001f, 0, 0};
        const miVector a = p + towardTuft(p, 0.2f, 3), b = q + towardTuft(q, 0.2f, 3);
        together += length(a - b) < 1e-5f;
        EXPECT_LT(length(a - p), 0.35f);
        EXPECT_GT(length(p + miVector{0.8f, 0, 0} + towardTuft(p + miVector{0.8f, 0, 0}, 0.2f, 3) - a), 0.1f);
    }
    EXPECT_GT(together, 90);
}

} // namespace

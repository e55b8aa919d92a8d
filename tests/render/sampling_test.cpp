// SPDX-License-Identifier: Apache-2.0
#include "render/film/pixel_filter.h"
#include "render/sampling/low_discrepancy.h"
#include "render/sampling/sampler.h"

#include <shader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace orca::render {
namespace {

/// Largest difference between the share of points in a box at the origin and the box's area, over a grid of
/// boxes.
double starDiscrepancy(const std::vector<std::pair<double, double>>& points) {
    double worst = 0.0;
    for (int i = 1; i <= 32; ++i)
        for (int j = 1; j <= 32; ++j) {
            const double x = i / 32.0;
            const double y = j / 32.0;
            const auto inside = std::count_if(points.begin(), points.end(),
                                              [&](const auto& p) { return p.first < x && p.second < y; });
            worst = std::max(
                worst, std::abs(static_cast<double>(inside) / static_cast<double>(points.size()) - x * y));
        }
    return worst;
}

TEST(LowDiscrepancy, EveryPowerOfTwoBlockFillsEveryElementaryInterval) {
    // The (0, 2)-sequence property: any 16 consecutive points of a block of 16 put one point into every cell
    // of every 16-cell grid of dyadic proportions.
    for (const std::uint32_t key : {1u, 77u, 0xdeadbeefu})
        for (const std::uint32_t start : {0u, 16u, 4096u})
            for (int columns = 1; columns <= 16; columns *= 2) {
                std::vector<int> cells(16, 0);
                for (std::uint32_t i = 0; i < 16; ++i) {
                    const float u = scrambledSobol(start + i, 0, key);
                    const float v = scrambledSobol(start + i, 1, key);
                    ++cells[static_cast<std::size_t>(static_cast<int>(u * static_cast<float>(columns)) *
                                                         (16 / columns) +
                                                     static_cast<int>(v * static_cast<float>(16 / columns)))];
                }
                EXPECT_EQ(std::count(cells.begin(), cells.end(), 1), 16)
                    << "columns " << columns << " key " << key;
            }
}

TEST(SamplerLoop, CountsItsPointsAndRepeatsForTheSamePixel) {
    const auto run = [](int pixel) {
        Sampler sampler;
        sampler.startSample(0, pixel, 3, 5);
        std::vector<double> values;
        const unsigned outerCount = 3;
        const unsigned innerCount = 2;
        int outer = 0;
        double point[2];
        while (sampler.loop(point, &outer, 2, &outerCount)) {
            values.insert(values.end(), point, point + 2);
            int inner = 0;
            while (sampler.loop(point, &inner, 2, &innerCount)) values.insert(values.end(), point, point + 2);
            EXPECT_EQ(inner, 2);
        }
        EXPECT_EQ(outer, 3);
        return values;
    };
    EXPECT_EQ(run(7).size(), 3u * 2u + 3u * 2u * 2u);
    EXPECT_EQ(run(7), run(7));
    EXPECT_NE(run(7), run(8));
    Sampler sampler;
    sampler.startSample(0, 0, 0, 0);
    double unused;
    int none = 0;
    const unsigned zero = 0;
    EXPECT_FALSE(sampler.loop(&unused, &none, 1, &zero));
}

/// A shader may ask for points of any dimension.
TEST(SamplerLoop, IsEvenInEveryPairOfManyDimensions) {
    constexpr unsigned dimensions = 9;
    constexpr unsigned count = 256;
    Sampler sampler;
    sampler.startSample(0, 12, 34, 0);
    std::vector<std::array<double, dimensions>> points;
    std::array<double, dimensions> point;
    int instance = 0;
    while (sampler.loop(point.data(), &instance, dimensions, &count)) points.push_back(point);
    ASSERT_EQ(points.size(), count);
    for (unsigned a = 0; a < dimensions; ++a) {
        // Each dimension by itself: one point in every 256th.
        std::vector<int> cells(count, 0);
        for (const auto& p : points) ++cells[static_cast<std::size_t>(p[a] * count)];
        EXPECT_EQ(std::count(cells.begin(), cells.end(), 1), count) << a;
        for (unsigned b = a + 1; b < dimensions; ++b) {
            std::vector<std::pair<double, double>> pairs;
            for (const auto& p : points) pairs.emplace_back(p[a], p[b]);
            // Random points: about 0.06. Dimensions of one sequence are evener than those of two.
            EXPECT_LT(starDiscrepancy(pairs), a / sobolDimensions == b / sobolDimensions ? 0.03 : 0.06)
                << a << ", " << b;
        }
    }
}

double filterAt(char kind, double x) {
    x = std::abs(x);
    switch (kind) {
    case miFILTER_TRIANGLE: return std::max(0.0, 1.0 - x);
    case miFILTER_MITCHELL:
        if (x < 1) return (7 * x * x * x - 12 * x * x + 16.0 / 3.0) / 6;
        return x < 2 ? (-7.0 / 3.0 * x * x * x + 12 * x * x - 20 * x + 32.0 / 3.0) / 6 : 0.0;
    case miFILTER_LANCZOS: {
        if (x >= 2) return 0.0;
        if (x == 0) return 1.0;
        const double p = std::numbers::pi * x;
        return std::sin(p) / p * std::sin(p / 2) / (p / 2);
    }
    default: return x <= 0.5 ? 1.0 : 0.0;
    }
}

/// A filter's answer to a vertical edge through the picture, at some distance from the pixel's centre.
class FilterEdge : public ::testing::TestWithParam<char> {};

TEST_P(FilterEdge, AgreesWithTheIntegralOfTheFilter) {
    const PixelFilter filter(GetParam(), 0.0f, 0.0f);
    for (const double edge : {-1.3, -0.4, 0.0, 0.3, 0.8}) {
        double expected = 0.0;
        double total = 0.0;
        for (int i = 0; i < 40000; ++i) {
            const double x = (i + 0.5) / 40000 * 4.0 - 2.0;
            total += filterAt(GetParam(), x);
            if (x > edge) expected += filterAt(GetParam(), x);
        }
        expected /= total;

        double sum = 0.0;
        double weight = 0.0;
        for (std::uint32_t i = 0; i < 4096; ++i) {
            const auto place =
                filter.place(i, scrambledSobol(i, 0, 5), scrambledSobol(i, 1, 5), scrambledSobol(i, 2, 5));
            weight += static_cast<double>(place.weight);
            if (static_cast<double>(place.x) > edge) sum += static_cast<double>(place.weight);
        }
        EXPECT_NEAR(sum / weight, expected, 0.01) << GetParam() << " edge at " << edge;
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, FilterEdge,
                         ::testing::Values(miFILTER_BOX, miFILTER_TRIANGLE, miFILTER_MITCHELL,
                                           miFILTER_LANCZOS));

/// Nothing lies between the two negative lobes of an axis.
TEST(PixelFilter, PlacesNegativeSamplesInItsLobes) {
    const PixelFilter filter(miFILTER_MITCHELL, 0.0f, 0.0f);
    for (int i = 0; i < 100000; ++i) {
        const float u = static_cast<float>(i) / 100000.0f;
        for (const float lobe : {0.0f, 0.99f}) {
            const auto place = filter.place(3, u, u, lobe);
            ASSERT_LT(place.weight, 0.0f);
            ASSERT_GT(std::max(std::abs(place.x), std::abs(place.y)), 0.99f) << u;
        }
    }
}

TEST(PixelFilter, LeavesAnEvenPictureEvenForAnyNumberOfSamples) {
    for (const char kind : {miFILTER_MITCHELL, miFILTER_LANCZOS})
        for (const unsigned count : {1u, 4u, 16u}) {
            const PixelFilter filter(kind, 0.0f, 0.0f);
            float weight = 0.0f;
            for (unsigned i = 0; i < count; ++i) weight += filter.place(i, 0.3f, 0.6f, 0.2f).weight;
            EXPECT_GT(weight, 0.5f);
            if (count % 4 == 0) {
                EXPECT_NEAR(weight, static_cast<float>(count), 1e-4f * static_cast<float>(count));
            }
        }
}

} // namespace
} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
/// The layers of velamaterials.so by laws that hold for any: no light is lost, views and lights can be
/// exchanged, and directions are distributed as their density says.
#include "orcaColor.h"
#include "orcaVector.h"
#include "velaFacetLobe.h"
#include "velaGlass.h"
#include "velaSheen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace vela {
namespace {

constexpr float pi = std::numbers::pi_v<float>;
const miColor grey04{0.04f, 0.04f, 0.04f, 0.0f};
const miColor white{1, 1, 1, 0};

miVector direction(float cosine, float azimuth = 0.7f) {
    const float sine = std::sqrt(1 - cosine * cosine);
    return {sine * std::cos(azimuth), sine * std::sin(azimuth), cosine};
}

/// Numbers of a fixed sequence.
struct Numbers {
    float operator()() { return std::uniform_real_distribution<float>(0, 1)(engine); }
    miVector hemisphere() { return direction(operator()(), 2 * pi * operator()()); }
    std::mt19937 engine{7};
};

struct LayerCase {
    float roughness, anisotropy, cosine;
};
class FacetLayers : public ::testing::TestWithParam<LayerCase> {};

TEST_P(FacetLayers, ReflectWhatTheirAlbedoSays) {
    const auto [roughness, anisotropy, cosine] = GetParam();
    Numbers u;
    for (const Reflectance& reflectance : {Reflectance{white, white}, Reflectance{grey04, white}}) {
        const FacetLobe lobe(direction(cosine), Roughness(roughness, anisotropy), reflectance);
        double sum = 0;
        constexpr int rays = 200000;
        for (int i = 0; i < rays; ++i) {
            const miVector light = lobe.direction(u(), u(), u());
            const float density = lobe.density(light);
            if (density > 0) sum += double(lobe.share(light).g / (pi * density));
        }
        // The tables are those of even roughness.
        const bool even = anisotropy == 0;
        EXPECT_NEAR(sum / rays, lobe.albedo().g, even ? 0.006 : 0.05);
        EXPECT_LE(sum / rays, 1.006);
        if (even && reflectance.normal.g == 1) {
            EXPECT_NEAR(lobe.albedo().g, 1.0f, 1e-5f);
        }
    }
}

TEST_P(FacetLayers, TreatViewAndLightAlike) {
    const auto [roughness, anisotropy, cosine] = GetParam();
    Numbers u;
    const Reflectance reflectance{{0.9f, 0.5f, 0.2f, 0}, white};
    const miVector view = direction(cosine);
    const FacetLobe lobe(view, Roughness(roughness, anisotropy), reflectance);
    for (int i = 0; i < 50; ++i) {
        const miVector light = u.hemisphere();
        const FacetLobe exchanged(light, Roughness(roughness, anisotropy), reflectance);
        const float there = lobe.share(light).r * view.z, back = exchanged.share(view).r * light.z;
        EXPECT_NEAR(there, back, 1e-4f * std::max(there, 1e-3f));
    }
}

/// Chi-square test over cells of equal solid angle that expect five directions and more.
TEST_P(FacetLayers, ChooseDirectionsByTheirDensity) {
    const auto [roughness, anisotropy, cosine] = GetParam();
    const FacetLobe lobe(direction(cosine), Roughness(roughness, anisotropy), {{0.8f, 0.8f, 0.8f, 0}, white});
    constexpr int rows = 16, columns = 32, fine = 24, rays = 100000;
    std::vector<double> expected(rows * columns), seen(rows * columns);
    const auto place = [](int index, int count) {
        return (static_cast<float>(index) + 0.5f) / static_cast<float>(count);
    };
    for (int i = 0; i < rows * fine; ++i)
        for (int j = 0; j < columns * fine; ++j)
            expected[static_cast<std::size_t>(i / fine * columns + j / fine)] +=
                double(lobe.density(direction(place(i, rows * fine), 2 * pi * place(j, columns * fine)))) *
                2 * pi / (rows * fine * columns * fine) * rays;
    Numbers u;
    for (int i = 0; i < rays; ++i) {
        const miVector d = lobe.direction(u(), u(), u());
        if (!(d.z > 0)) continue;
        const float turns = std::atan2(d.y, d.x) / (2 * pi);
        const int column = std::min(columns - 1, static_cast<int>((turns < 0 ? turns + 1 : turns) * columns));
        ++seen[static_cast<std::size_t>(std::min(rows - 1, static_cast<int>(d.z * rows)) * columns + column)];
    }
    double statistic = 0, cells = 0;
    for (std::size_t k = 0; k < expected.size(); ++k)
        if (expected[k] >= 5) {
            statistic += (seen[k] - expected[k]) * (seen[k] - expected[k]) / expected[k];
            ++cells;
        }
    // Beyond five standard deviations; the integrals of narrow lobes are coarse.
    EXPECT_LT(statistic, cells + 5 * std::sqrt(2 * cells)) << cells;
}
INSTANTIATE_TEST_SUITE_P(Roughness, FacetLayers,
                         ::testing::Values(LayerCase{0.3f, 0, 0.9f}, LayerCase{0.5f, 0, 0.3f},
                                           LayerCase{0.8f, 0, 0.6f}, LayerCase{1.0f, 0, 0.1f},
                                           LayerCase{1.0f, 0, 1.0f}, LayerCase{0.6f, 0.8f, 0.5f},
                                           LayerCase{0.5f, 1.0f, 0.5f}));

TEST(GlassLayer, LosesNothingAtAnyRoughness) {
    for (const float eta : {1.5f, 1 / 1.5f, 1.05f})
        for (const float roughness : {0.0f, 0.2f, 0.6f, 1.0f})
            for (const float cosine : {0.1f, 0.5f, 0.95f}) {
                const Glass glass{Roughness(roughness, 0), eta, white, false, {}};
                Numbers u;
                double all = 0, reflected = 0;
                constexpr int paths = 20000;
                for (int i = 0; i < paths; ++i) {
                    const GlassPath path = walkThroughGlass(glass, direction(cosine), u(), u(), u());
                    all += double(path.weight.g);
                    if (path.direction.z > 0) reflected += double(path.weight.g);
                }
                EXPECT_NEAR(all / paths, 1.0, 0.001) << eta << ' ' << roughness << ' ' << cosine;
                if (roughness == 0) {
                    EXPECT_NEAR(reflected / paths, dielectricReflectance(cosine, eta), 0.015);
                }
            }
}

/// Light from everywhere on the outside lets as much in as light from everywhere inside lets out, over the
/// square of the index, however rough the boundary is.
TEST(GlassLayer, LetsLightThroughFromEitherSideAlike) {
    constexpr float index = 1.5f;
    for (const float roughness : {0.0f, 0.6f, 1.0f}) {
        double through[2] = {};
        for (const bool inside : {false, true}) {
            const Glass glass{Roughness(roughness, 0), inside ? 1 / index : index, white, false, {}};
            Numbers u;
            constexpr int paths = 100000;
            for (int i = 0; i < paths; ++i) {
                const miVector view = direction(std::sqrt(u())); // weighted by the cosine
                const GlassPath path = walkThroughGlass(glass, view, u(), u(), u());
                if (path.direction.z < 0) through[inside] += double(path.weight.g) / paths;
            }
        }
        EXPECT_NEAR(through[0], through[1] * double(index * index), 0.01) << roughness;
    }
}

TEST(SheenLayer, ReflectsWhatItsAlbedoSays) {
    Numbers u;
    for (const float roughness : {0.25f, 0.5f, 1.0f})
        for (const float cosine : {0.1f, 0.4f, 0.9f}) {
            double sum = 0;
            constexpr int lights = 200000;
            for (int i = 0; i < lights; ++i)
                sum += 2 * double(sheenShare(direction(cosine), u.hemisphere(), roughness));
            EXPECT_NEAR(sum / lights, sheenAlbedo(roughness, cosine), 0.012) << roughness << ' ' << cosine;
            EXPECT_LE(sum / lights, 1.0);
        }
}

TEST(ThinFilm, InterferesAndReflectsNoMoreThanAll) {
    const auto at = [](float thickness, float cosine) {
        return filmReflectance({thickness, 1.33f}, cosine, grey04, white);
    };
    // Too thin to be seen: the bare surface. Of a quarter wave of green: less of it than of the other
    // colours.
    EXPECT_NEAR(at(0, 1).g, 0.04f, 0.002f);
    const miColor quarter = at(550 / (4 * 1.33f), 1);
    EXPECT_LT(quarter.g, 0.02f);
    EXPECT_GT(quarter.b, quarter.g);
    for (float thickness = 0; thickness < 1500; thickness += 37)
        for (const float cosine : {0.05f, 0.5f, 1.0f}) {
            const miColor r = filmReflectance({thickness, 1.7f}, cosine, {0.9f, 0.6f, 0.3f, 0}, white);
            EXPECT_LE(largestChannel(r), 1.0f);
            EXPECT_GE(std::min({r.r, r.g, r.b}), 0.0f);
        }
}

} // namespace
} // namespace vela

// SPDX-License-Identifier: Apache-2.0
#include "orcaHairScattering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// A hair along y with its root below, seen from `degrees` above the plane across it.
struct View {
    FibreFrame frame;
    miVector toViewer;
};
View viewFrom(float degrees, float offset) {
    const float angle = degrees * float(pi / 180);
    return {{{0, 1, 0}, {1, 0, 0}, {0, 0, 1}, offset, 0.5f}, {0, std::sin(angle), std::cos(angle)}};
}

/// Integral over all directions, in equal steps of their sine along the hair and azimuth.
template <class Function>
double overSphere(const Function& f) {
    constexpr int rows = 600, columns = 360;
    double sum = 0.0;
    for (int i = 0; i < rows; ++i)
        for (int k = 0; k < columns; ++k) {
            const double s = -1 + (2.0 * i + 1) / rows, c = std::sqrt(1 - s * s),
                         a = 2 * pi * (k + 0.5) / columns;
            sum += f(miVector{float(c * std::cos(a)), float(s), float(c * std::sin(a))});
        }
    return sum * 4 * pi / (rows * columns);
}

TEST(HairScattering, SendsBackAllOfTheLightInLobesThatItsSamplesFollow) {
    for (const float roughness : {0.15f, 0.35f, 0.9f})
        for (const float degrees : {0.0f, -35.0f, 70.0f})
            for (const float offset : {0.0f, 0.6f, -0.95f}) {
                const View view = viewFrom(degrees, offset);
                const HairScattering hair({BLACK, roughness, roughness, 0.05f, 1.55f}, view.frame,
                                          view.toViewer);
                double all = 0.0;
                for (int p = 0; p < HairScattering::lobes; ++p) {
                    SCOPED_TRACE(testing::Message()
                                 << roughness << ' ' << degrees << ' ' << offset << " lobe " << p);
                    const auto lobe = static_cast<HairScattering::Lobe>(p);
                    all += hair.attenuation(lobe).g;
                    EXPECT_NEAR(overSphere([&](const miVector& l) { return hair.density(lobe, l); }), 1.0,
                                5e-3);
                    const miVector axis = normalized(miVector{0.4f, 0.5f, 0.7f});
                    const double mean = overSphere(
                        [&](const miVector& l) { return std::pow(dot(l, axis), 3) * hair.density(lobe, l); });
                    double sampled = 0.0;
                    constexpr int count = 20000;
                    for (int i = 0; i < count; ++i) {
                        // A lattice after Roberts, 2018.
                        const double u[] = {std::fmod(0.5 + i * 0.8191725134, 1.0),
                                            std::fmod(0.5 + i * 0.6710436067, 1.0),
                                            std::fmod(0.5 + i * 0.5497004779, 1.0)};
                        sampled += std::pow(dot(hair.direction(lobe, u), axis), 3) / count;
                    }
                    EXPECT_NEAR(sampled, mean, 6e-3);
                }
                EXPECT_NEAR(all, 1.0, 1e-5);
            }
}

TEST(HairScattering, TiltedScalesMoveTheLobesAlongTheHair) {
    constexpr float tilt = 0.06f;
    const View view = viewFrom(0, 0);
    const HairScattering hair({BLACK, 0.15f, 0.3f, tilt, 1.55f}, view.frame, view.toViewer);
    const std::pair<HairScattering::Lobe, float> lobes[] = {{HairScattering::REFLECTED, -2 * tilt},
                                                            {HairScattering::TRANSMITTED, tilt},
                                                            {HairScattering::INNER, 4 * tilt}};
    for (const auto& [lobe, middle] : lobes) {
        const double sine = overSphere([&](const miVector& l) { return l.y * hair.density(lobe, l); });
        EXPECT_NEAR(sine, std::sin(middle), 0.1 * std::abs(middle)); // a wide lobe reaches round the tip
    }
    // At the edge facing +x light that is reflected comes from that side, at the middle from the viewer's.
    const HairScattering edge({BLACK, 0.15f, 0.15f, 0, 1.55f}, viewFrom(0, 0.7071068f).frame, view.toViewer);
    EXPECT_GT(edge.density(HairScattering::REFLECTED, {1, 0, 0}),
              10 * edge.density(HairScattering::REFLECTED, {0, 0, 1}));
}

TEST(HairScattering, AbsorptionAndColourAreInverse) {
    const miColor color{0.8f, 0.3f, 0.05f, 0};
    const miColor back = hairColorOfAbsorption(hairAbsorptionOfColor(color, 0.4f), 0.4f);
    EXPECT_NEAR(back.r, color.r, 1e-4f);
    EXPECT_NEAR(back.b, color.b, 1e-4f);
    const miColor dark = hairAbsorptionOfMelanin(0.8f, 0), red = hairAbsorptionOfMelanin(0.8f, 1);
    EXPECT_NEAR(dark.g / dark.r, 0.697f / 0.419f, 1e-4f);
    EXPECT_GT(red.b / red.r, dark.b / dark.r);
}

TEST(FibreMirror, LiesOnTheConeOfReflections) {
    const miVector along{0, 1, 0}, ray = normalized(miVector{0.2f, 0.5f, -1}),
                                   light = normalized(miVector{1, 0.3f, 0.4f});
    const miVector mirror = fibreMirror(along, ray, light, 0);
    EXPECT_NEAR(mirror.y, ray.y, 1e-6f);
    EXPECT_NEAR(mirror.x / mirror.z, light.x / light.z, 1e-4f);
    EXPECT_NEAR(std::asin(fibreMirror(along, ray, light, 0.2f).y), std::asin(ray.y) + 0.2f, 1e-5f);
}

} // namespace

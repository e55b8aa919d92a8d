// SPDX-License-Identifier: Apache-2.0
#include "orcaAreaLight.h"
#include "orcaVector.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(AreaLight, MeanCosineMatchesAverageOverItsDirections) {
    const AreaLightRecord light{{0.5f, 0.2f, 2.0f}, {1.5f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.3f}};
    const miVector axis{0.0f, 0.0f, 1.0f}, point{0.0f, 0.0f, 0.0f}, normal = cross(light.edgeU, light.edgeV);
    double cosines = 0.0, angle = 0.0;
    constexpr int n = 200;
    for (int i = 0; i < n * n; ++i) {
        const auto u = static_cast<float>(2.0 * (i / n + 0.5) / n - 1.0);
        const auto v = static_cast<float>(2.0 * (i % n + 0.5) / n - 1.0);
        const miVector to = light.center + light.edgeU * u + light.edgeV * v;
        const double r = length(to), solid = dot(to, normal) / (r * r * r);
        cosines += solid * to.z / r;
        angle += solid;
    }
    EXPECT_NEAR(meanCosineToAreaLight(point, axis, light), cosines / angle, 1e-4);
}

TEST(AreaLight, HighlightLooksAtThePointNearestTheMirrorRay) {
    ScriptedRenderer renderer;
    const AreaLightRecord light{{0.0f, 0.0f, 2.0f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}};
    for (const float x : {0.5f, 9.0f}) { // through the light, and past its edge
        const miVector mirror = normalized({x, 0.0f, 2.0f});
        miVector d;
        arealight_max_phong_spec_dir(&d, &renderer.state, &mirror, &light);
        const float nearest = std::min(x, 1.0f);
        EXPECT_NEAR(d.x, nearest / std::sqrt(4.0f + nearest * nearest), 1e-6f);
    }
}

} // namespace

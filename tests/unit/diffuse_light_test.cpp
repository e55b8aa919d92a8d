// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaAreaLight.h"
#include "orcaConstants.h"
#include "orcaIrradiance.h"
#include "orcaLambertTranslucence.h"

#include <cmath>

namespace {

/// One colour parameter that is connected or not, and the irradiance colour before it.
struct IrradianceRecord {
    miColor color;
    miColor override;
};

class Irradiance : public ::testing::Test {
protected:
    Irradiance() : scene({}), shader({WHITE, {9, 9, 9, 9}}) {
        scene.renderer.state.shader = &shader.function;
        scene.renderer.averageRadiance = [this](miColor* e, miState*, miUint1,
                                                miIrrad_options* options) -> miBoolean {
            throughput = scene.vela().throughput;
            rays = options ? options->finalgather_rays : -1;
            *e = {1.0f, 2.0f, 3.0f, 1.0f};
            return miTRUE;
        };
    }
    miColor compute(const miColor& color, float scale, float boost = 1.0f) {
        miColor result;
        compute_irradiance(&result, &shader.parameters.color, &color, &transparency,
                           &shader.parameters.override, &scene.renderer.state, scale, boost);
        return result;
    }

    MaterialScene scene;
    ScriptedShader<IrradianceRecord> shader;
    miColor transparency = BLACK;
    miColor throughput = BLACK;
    int rays = 0;
};

TEST_F(Irradiance, WeighsWhatItGathersAndLowersTheThroughputMeanwhile) {
    scene.renderer.options.finalgather_rays = 4;
    transparency = {0.5f, 0.0f, 0.0f, 0.0f};
    EXPECT_EQ(compute({0.5f, 0.5f, 0.25f, 1.0f}, 0.8f), (miColor{0.4f, 0.8f, 0.6f, 0.0f}));
    expectColor(throughput, 0.5f * 0.4f / 4.0f, 0.4f / 4.0f, 0.2f / 4.0f);
    EXPECT_EQ(scene.vela().throughput, WHITE);
    compute({0.5f, 0.5f, 0.25f, 1.0f}, 0.8f, 2.0f);
    EXPECT_NEAR(throughput.g, 2.0f * 0.4f / 4.0f, 1e-6f);
}

TEST_F(Irradiance, GathersNothingForNothing) {
    EXPECT_EQ(compute({1e-6f, 0, 0, 1}, 1.0f), BLACK);
    EXPECT_EQ(compute(WHITE, 0.0f), BLACK);
    scene.vela().throughputCutoff = 0.5f;
    EXPECT_EQ(compute({0.4f, 0.4f, 0.4f, 1}, 1.0f), BLACK);
    EXPECT_EQ(scene.vela().throughput, WHITE);
    EXPECT_EQ(scene.renderer.callCount("mi_compute_avg_radiance"), 0);
}

TEST_F(Irradiance, TakesAConnectedOverrideInstead) {
    shader.connect(&shader.parameters.override);
    scene.renderer.setComputed(&shader.parameters.override, miColor{0.5f, 0.25f, 1.0f, 1.0f});
    expectColor(compute({0.5f, 1.0f, 1.0f, 1.0f}, 1.0f), 0.25f, 0.25f, 1.0f);
    EXPECT_EQ(scene.renderer.callCount("mi_compute_avg_radiance"), 0);
}

TEST_F(Irradiance, ReducesAnObjectsOwnRaysWithTheThroughput) {
    const GatherSettings settings{VELA_MAGIC, GATHER_SETTINGS_KIND, 100, 0, 0, 0, 0};
    auto& database = scene.renderer.database;
    scene.renderer.state.instance =
        database.addInstance(database.addObject(database.addUserDataRecord(settings)));
    scene.vela().throughputCutoff = 0.0f;
    scene.vela().throughputUpper = 1.0f;
    compute({0.5f, 0.25f, 0.25f, 1.0f}, 1.0f);
    EXPECT_EQ(rays, 50);
    EXPECT_NEAR(throughput.r, 0.5f / 50.0f, 1e-6f);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
}

TEST(AreaLight, MeanCosineMatchesAverageOverItsDirections) {
    const AreaLightRecord light{{0.5f, 0.2f, 2.0f}, {1.5f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.3f}};
    const miVector axis{0.0f, 0.0f, 1.0f}, point{0.0f, 0.0f, 0.0f};
    const miVector normal{0.0f, -0.45f, 1.5f}; // edgeU x edgeV
    double cosines = 0.0, angle = 0.0;
    constexpr int n = 200;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double u = 2.0 * (i + 0.5) / n - 1.0, v = 2.0 * (j + 0.5) / n - 1.0;
            const double x = 0.5 + 1.5 * u, y = 0.2 + v, z = 2.0 + 0.3 * v;
            const double r = std::sqrt(x * x + y * y + z * z);
            const double solid = (x * normal.x + y * normal.y + z * normal.z) / (r * r * r);
            cosines += solid * z / r;
            angle += solid;
        }
    EXPECT_NEAR(meanCosineToAreaLight(point, axis, light), cosines / angle, 1e-4);
}

TEST(AreaLight, HighlightLooksAtThePointNearestTheMirrorRay) {
    ScriptedRenderer renderer;
    const AreaLightRecord light{{0.0f, 0.0f, 2.0f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}};
    const auto toward = [&](miVector mirror) {
        miVector d;
        mi_vector_normalize(&mirror);
        arealight_max_phong_spec_dir(&d, &renderer.state, &mirror, &light);
        return d;
    };
    EXPECT_NEAR(toward({0.5f, 0.0f, 2.0f}).x, 0.5f / std::sqrt(4.25f), 1e-6f); // through the light
    EXPECT_NEAR(toward({9.0f, 0.0f, 2.0f}).x, 1.0f / std::sqrt(5.0f), 1e-6f);  // past its edge
}

} // namespace

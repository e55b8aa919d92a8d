// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaHighlightComponents.h"
#include "orcaIrradiance.h"
#include "orcaVector.h"

#include <cmath>

namespace {

const std::vector<ScenePass> passes{
    {PASS_BEAUTY, "0", FB_SHADOWED}, {PASS_DIFFUSE, "5", FB_SHADOWED}, {PASS_SHADOW, "12"}};

TEST(Surface, KnowsNothingOfAForeignLightsShadowWherePassesAddUp) {
    for (const bool additive : {false, true}) {
        MaterialScene scene(passes);
        scene.vela().additivePasses = additive;
        ScriptedLight light; // does not take part in the protocol
        light.instance = scene.renderer.database.addInstance();
        scene.renderer.lights.push_back(light);
        const miColor diffuse = MaterialInstance<LambertParameters>(scene, lambert, plain()).shade().diffuse;
        expectColor(scene.level(PASS_DIFFUSE), diffuse);
        expectColor(scene.level(PASS_SHADOW), additive ? BLACK : diffuse);
    }
}

TEST(Surface, IsLitInScenesWithoutPasses) {
    MaterialScene scene(std::vector<ScenePass>{});
    scene.addLight({0.0f, 0.0f, 1.0f});
    expectColor(MaterialInstance<LambertParameters>(scene, lambert, plain()).shade().diffuse,
                plainSurface().color * plainSurface().diffuse);
}

TEST(Surface, ClosesTheLightLoopWhenALightThrows) {
    MaterialScene scene(passes);
    scene.addLight({0.0f, 0.0f, 1.0f});
    scene.renderer.lights[0].shader = [](miColor*, miState*) -> miBoolean { throw 1; };
    const miColor throughput = scene.vela().throughput;
    MaterialInstance<LambertParameters> material(scene, lambert, plain());
    EXPECT_THROW(material.shade(), int);
    EXPECT_FALSE(scene.record(0).flags & FB_IN_LIGHT_LOOP);
    EXPECT_EQ(scene.vela().throughput, throughput);
}

/// An interpolated normal may lean away from the viewer at a silhouette, and from the light.
TEST(SilhouetteHighlights, StayFiniteWhereTheNormalLeansAway) {
    ScriptedRenderer renderer;
    BlinnParameters p{};
    p.specularColor = WHITE;
    p.eccentricity = 0.3f;
    p.specularRollOff = 0.7f;
    ScriptedShader<BlinnParameters> shader(p);
    miState& state = renderer.state;
    state.shader = &shader.function;
    for (const float view : {0.02f, 1e-4f, 0.0f, -1e-4f, -0.02f})
        for (const float light : {0.9f, 0.3f, 1e-3f, -1e-3f, -0.3f, -0.9f}) {
            state.dir = -normalized({1.0f, 0.0f, view});
            LightSample sample{};
            sample.direction = sample.specularDirection = {0.0f, std::sqrt(1.0f - light * light), light};
            sample.nDotL = light;
            const BlinnSpecularComponent<BlinnParameters> highlight(&state, &shader.parameters);
            const float strength = highlight(&state, sample).r;
            EXPECT_TRUE(strength >= 0.0f && strength < (light < 0.0f ? 1e-30f : 4.0f))
                << view << ' ' << light;
        }
}

/// One colour parameter that is connected or not, and the irradiance colour before it.
struct IrradianceRecord {
    miColor color;
    miColor override;
};

class Irradiance : public ::testing::Test {
protected:
    Irradiance() {
        scene.renderer.state.shader = &shader.function;
        scene.renderer.averageRadiance = [this](miColor* e, miState*, miUint1,
                                                miIrrad_options* options) -> miBoolean {
            throughput = scene.vela().throughput;
            rays = options ? options->finalgather_rays : -1;
            *e = {1.0f, 2.0f, 3.0f, 1.0f};
            return miTRUE;
        };
    }
    miColor compute(const miColor& color, float scale) {
        miColor result;
        compute_irradiance(&result, &shader.parameters.color, &color, &BLACK, &shader.parameters.override,
                           &scene.renderer.state, scale, 1.0f);
        return result;
    }

    MaterialScene scene{std::vector<ScenePass>{}};
    ScriptedShader<IrradianceRecord> shader{{WHITE, {9, 9, 9, 9}}};
    miColor throughput = BLACK;
    int rays = 0;
};

TEST_F(Irradiance, GathersNothingForNothingAndTakesAConnectedOverrideInstead) {
    EXPECT_EQ(compute({1e-6f, 0, 0, 1}, 1.0f), BLACK);
    EXPECT_EQ(compute(WHITE, 0.0f), BLACK);
    shader.connect(&shader.parameters.override);
    scene.renderer.setComputed(&shader.parameters.override, miColor{0.5f, 0.25f, 1.0f, 1.0f});
    expectColor(compute({0.5f, 1.0f, 1.0f, 1.0f}, 1.0f), 0.25f, 0.25f, 1.0f);
    EXPECT_EQ(scene.renderer.callCount("mi_compute_avg_radiance"), 0);
}

/// The throughput that each gathering ray carries is shared by the rays, of the options or of the object's
/// own.
TEST_F(Irradiance, ReducesAnObjectsOwnRaysWithTheThroughput) {
    scene.renderer.options.finalgather_rays = 4;
    EXPECT_EQ(compute({0.5f, 0.5f, 0.25f, 1.0f}, 0.8f), (miColor{0.4f, 0.8f, 0.6f, 0.0f}));
    expectColor(throughput, 0.4f / 4.0f, 0.4f / 4.0f, 0.2f / 4.0f);

    auto& database = scene.renderer.database;
    const miTag settings = database.addUserData({VELA_MAGIC, GATHER_SETTINGS_KIND, 100, 0, 0, 0, 0});
    scene.renderer.state.instance = database.addInstance(database.addObject(settings));
    scene.vela().throughputCutoff = 0.0f;
    scene.vela().throughputUpper = 1.0f;
    compute({0.5f, 0.25f, 0.25f, 1.0f}, 1.0f);
    EXPECT_EQ(rays, 50);
    EXPECT_NEAR(throughput.r, 0.5f / 50.0f, 1e-6f);
    EXPECT_EQ(scene.vela().throughput, WHITE);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
}

} // namespace

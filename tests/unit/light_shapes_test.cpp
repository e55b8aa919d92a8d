// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaDiscShadow.h"
#include "orcaVector.h"
#include "orcaVelaPointLight.h"

#include <cmath>

namespace {

TEST(LightFogRim, IsFullAndANumber) {
    MaterialScene scene(std::vector<ScenePass>{});
    ScriptedShader<PointLightParameters> light;
    PointLightParameters& p = light.parameters;
    p.color = WHITE;
    p.intensity = p.fogIntensity = 1.0f;
    p.decayRate = 2;
    scene.vela().flags = VELA_BIT_ENVLIGHTFOG;
    miState& hit = scene.renderer.state;
    miState state = scene.renderer.derived(hit, miRAY_LIGHT);
    state.light_instance = scene.renderer.database.addInstance();
    state.shader = &light.function;
    const auto strengthAt = [&](double distance) {
        hit.dist = distance;
        miColor result{};
        orcaVelaPointLight(&result, &state, &p);
        return result.r;
    };
    for (const float radius : {0.0f, 0.3f, 1000.03f, 1e8f})
        for (const int type : {0, 1, 2, 7}) {
            p.fogType = type;
            p.fogRadius = radius;
            EXPECT_EQ(strengthAt(2.0 * radius), 1.0f);
            // Just inside it is still no more than full.
            const float inside = strengthAt(2.0 * std::nextafter(radius, 0.0f));
            EXPECT_TRUE(inside > 0.0f && inside <= 1.0f) << radius << ' ' << type;
        }
}

TEST(SamplingDisc, FacesAlongItsNormalWhereverItsAxesComeFrom) {
    // Centres on a coordinate axis, where rounding is all that leads along it, and planes that meet the x
    // axis nearly at infinity.
    const miVector centers[] = {
        {5.0f, 0.0f, 0.0f}, {0.0f, 7.3f, 0.0f}, {1.1f, 0.0f, 0.0f}, {3.0f, 900.0f, -2.0f}};
    const miVector normals[] = {{0.6f, 0.8f, 0.0f},      {-0.3f, 0.1f, 0.7f},   {0.77f, -0.2f, 0.61f},
                                {6.1e-17f, -1.0f, 0.0f}, {1e-39f, 0.0f, -1.0f}, {1e-21f, 1.0f, 1.0f},
                                {0.0f, 0.6f, 0.8f},      {0.0f, 0.0f, 1.0f}};
    for (const miVector& center : centers)
        for (const miVector& direction : normals) {
            const miVector n = normalized(direction);
            const auto disc = SamplingDisc::perpendicularTo(n, center, 1.0f);
            EXPECT_NEAR(length(disc.axis1), 1.0f, 1e-5f);
            EXPECT_NEAR(length(disc.axis2), 1.0f, 1e-5f);
            EXPECT_NEAR(dot(disc.axis1, n), 0.0f, 0.011f);
            EXPECT_NEAR(dot(disc.axis2, n), 0.0f, 1e-5f);
            EXPECT_NEAR(dot(disc.axis1, disc.axis2), 0.0f, 1e-5f);
        }
}

} // namespace

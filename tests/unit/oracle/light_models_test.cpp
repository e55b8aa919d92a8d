// SPDX-License-Identifier: Apache-2.0
/// The exported light models against second formulations, where they are called with more than a material
/// would.
#include "oracle/pipeline_oracle.h"
#include "orcaAnisotropicFacets.h"
#include "orcaLambertTranslucence.h"
#include "orcaSpecular.h"
#include "scripted_renderer.h"

namespace {

using reference::Random;
using reference::V3;

TEST(LightModels, MatchTheReference) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    Random random(9);
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        constexpr int rays[] = {miRAY_EYE, miRAY_REFLECT, miRAY_REFRACT, miRAY_FINALGATHER};
        state.type = static_cast<miRay_type>(rays[random.below(4)]);
        state.dir = random.direction();
        const reference::View view{state.type, state.dir};
        const miVector mirror = random.direction(), normal = random.direction();
        const V3 near = reference::unit(V3(mirror) + V3(random.direction()) * random.in(0.0f, 1.5f));
        const miVector light = near.single();
        const miVector longer = (near * random.in(0.2f, 4.0f)).single();
        const float nDotL = random.chance(0.1f) ? 0.0f : random.in(-1.0f, 1.0f);
        const float exponent = random.in(0.1f, 60.0f);
        EXPECT_NEAR(compute_phong_specular(&mirror, &longer, &state, exponent, nDotL),
                    reference::phong(mirror, longer, view, exponent, nDotL), 1e-5); // below its tail
        const float whiteness = random.in(0.0f, 0.2f), size = random.in(0.01f, 1.0f);
        const float roughness = random.chance(0.1f) ? 0.0f : random.in(0.0f, 4.0f);
        const double strength = reference::phongE(mirror, whiteness, roughness, size, nDotL, longer, view);
        EXPECT_NEAR(compute_phongE_specular(&mirror, whiteness, roughness, size, nDotL, &longer, &state),
                    strength, 1e-3 * (1.0 + strength));
        const float a = random.in(0.0f, 1.0f), b = random.in(0.05f, 1.0f), rollOff = random.in(0.0f, 1.0f);
        const float eccentricity = random.chance(0.1f) ? 1.0f : random.in(0.2f, 0.95f);
        const double facets = reference::blinn(light, normal, view, a, b, eccentricity, rollOff, nDotL);
        EXPECT_NEAR(compute_blinn_specular(&light, &normal, &state, a, b, eccentricity, rollOff, nDotL),
                    facets, 1e-3 * (1.0 + facets));
        const V3 along = unit(cross(normal, V3(random.direction())));
        const AnisotropicFacets slopes{normal, along.single(), cross(normal, along).single(),
                                       random.in(0.1f, 0.9f), random.in(0.1f, 0.9f)};
        const double glint = reference::anisotropic(normal, along, cross(normal, along), slopes.alphaAlong,
                                                    slopes.alphaAcross, light, state.dir);
        EXPECT_NEAR(compute_anisotropic_specular(&slopes, &light, &state), glint, 1e-3 * (1.0 + glint));
        const float cosine = random.in(0.0f, 1.0f), index = random.in(1.0f, 6.0f);
        EXPECT_NEAR(compute_anisotropic_reflectivity(cosine, index), reference::fresnel(cosine, index), 2e-5);
        const float amount = random.in(0.0f, 1.0f),
                    wrap = random.chance(0.3f) ? 0.0f : random.in(0.0f, 0.15f);
        const float forward = random.chance(0.3f) ? 0.0f : random.in(0.0f, 1.0f);
        EXPECT_NEAR(compute_lambert_translucence(&state, &light, nullptr, nDotL, amount, forward, wrap),
                    reference::translucence(state.dir, light, nDotL, amount, forward, wrap), 1e-4);
    }
}

} // namespace

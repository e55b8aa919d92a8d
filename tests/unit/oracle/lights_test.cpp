// SPDX-License-Identifier: Apache-2.0
/// The point and directional lights against a second
/// formulation, over random settings, places and occluders: colour, light data,
/// what each record receives, and every shadow ray's geometry.
#include "material_scene.h"
#include "oracle/light_oracle.h"
#include "orcaPhotometry.h"

namespace {

using reference::epsilon;
using reference::LightOutcome;
using reference::lightPasses;
using reference::LightScenario;
using reference::Random;
using reference::recordTransmission;
using reference::Rgba;
using reference::V3;

LightScenario randomLight(Random& random, bool directional) {
    LightScenario c{};
    c.directional = directional;
    PointLightParameters& p = c.point;
    p.lightRadius = random.chance(0.5f) ? random.in(0.05f, 0.8f) : 0.0f;
    p.decayRate = random.below(5);
    p.useDepthMapShadows = random.chance(0.3f);
    p.emitDiffuse = random.chance(0.5f);
    p.emitSpecular = random.chance(0.5f);
    p.color = random.color();
    p.intensity = random.in(0.2f, 3.0f);
    p.useRayTraceShadows = random.chance(0.85f);
    p.shadowColor = random.color(0.0f, 0.4f);
    p.shadowRays = random.chance(0.1f) ? 0 : 1 + random.below(12);
    p.rayDepthLimit = random.chance(0.8f) ? 5 : random.below(3);
    p.fogRadius = random.in(0.5f, 3.0f);
    p.fogType = random.below(4);
    p.fogIntensity = random.in(0.2f, 2.0f);
    c.directionalOwn = {{random.chance(0.3f)}, {random.chance(0.6f) ? random.in(0.5f, 20.0f) : 0.0f}, p, {}};
    c.rayType = random.chance(0.85f) ? miRAY_LIGHT : miRAY_EYE;
    c.parentType = random.chance(0.95f) ? miRAY_EYE : miRAY_SHADOW;
    const V3 place = V3(random.direction()) * 2.0;
    V3 towards = random.direction();
    while (std::abs(towards.x) < 0.1) towards = random.direction();
    if (random.chance(0.1f)) towards = {0, 0.6, 0.8};
    if (random.chance(0.1f)) towards = {0, 0, 1};
    c.distance = random.in(0.3f, 4.0f);
    c.place = place.single();
    c.origin = (place + towards * c.distance).single();
    c.normal = random.direction();
    c.lightOrigin = (V3(random.direction()) * 1.5).single();
    c.parentDistance = random.in(0.1f, 6.0f);
    c.throughput = random.color(0.2f, 1.0f);
    c.cutoff = random.chance(0.2f) ? random.in(0.0f, 0.8f) : -1.0f;
    c.upper = c.cutoff + random.in(0.2f, 2.0f);
    c.maxTraceDepth = random.chance(0.85f) ? 5 : random.below(2);
    c.level = random.below(3);
    c.skipShadows = random.chance(0.08f);
    c.shadowMaps = random.chance(0.7f);
    c.rayTracing = random.chance(0.93f);
    c.moving = random.chance(0.1f);
    c.fog = !directional && random.chance(0.2f);
    c.area = random.chance(0.7f) ? 0 : random.below(4);
    c.edgeU = random.direction();
    c.edgeV = random.direction();
    c.discNormal = random.direction();
    for (int i = 0; i < 3; ++i) {
        c.occluder.axis[i] = random.direction();
        c.occluder.place[i] = dot(c.occluder.axis[i], towards * -1.0) +
                              0.2 * dot(c.occluder.axis[i], c.origin) + random.in(-0.1f, 0.1f);
    }
    c.occluder.sharpness = random.in(1.0f, 8.0f);
    c.occluder.clear = random.chance(0.1f);
    c.occluder.opaque = random.chance(0.1f);
    if (random.chance(0.4f)) c.mask = {"0123456789abcdef"[random.below(16)], "0123"[random.below(4)]};
    return c;
}

void compareWithReference(const LightScenario& c) {
    const LightOutcome expected = reference::light(c);
    MaterialScene scene(lightPasses);
    ScriptedRenderer& renderer = scene.renderer;
    miVector texture{0.25f, 0.5f, 0.75f};
    renderer.state.tex_list = &texture;
    renderer.state.type = static_cast<miRay_type>(c.parentType);
    renderer.state.dist = c.parentDistance;
    renderer.options.use_shadow_maps = c.shadowMaps;
    renderer.options.trace = c.rayTracing;
    renderer.answer<int>(miQ_FINALGATHER_STATE, c.moving);
    const miMatrix toLight{
        1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -c.lightOrigin.x, -c.lightOrigin.y, -c.lightOrigin.z, 1};
    mi_matrix_copy(renderer.internalToLight, toLight);

    miState state = renderer.derived(renderer.state, static_cast<miRay_type>(c.rayType));
    state.reflection_level = c.level;
    state.refraction_level = 0;
    state.point = c.place;
    state.org = c.origin;
    state.normal = c.normal;
    state.dir = unit(V3(c.place) - V3(c.origin)).single();
    state.dot_nd = 0.625f;
    state.dist = c.distance;
    state.volume = 5;
    state.light_instance =
        c.mask.empty() ? renderer.database.addInstance() : renderer.database.addMaskedInstance(c.mask);
    renderer.database.element<miInstance>(state.light_instance).item =
        renderer.database.add(miSCENE_LIGHT, miLight{});
    renderer.answer<int>(miQ_LIGHT_AREA, c.area);
    renderer.answer(miQ_LIGHT_AREA_R_EDGE_U, c.edgeU);
    renderer.answer(miQ_LIGHT_AREA_R_EDGE_V, c.edgeV);
    renderer.answer(miQ_LIGHT_AREA_D_NORMAL, c.discNormal);
    VelabaseState& vela = scene.vela();
    vela.throughput = c.throughput;
    vela.throughputCutoff = c.cutoff;
    vela.throughputUpper = c.upper;
    vela.maxTraceDepth = c.maxTraceDepth;
    const miUint flags = c.fog ? VELA_BIT_ENVLIGHTFOG : 0u;
    vela.flags = flags;
    vela.lightData = {1, 0, 0, 0.5f, {9, 9, 9, 9}, 3, 4, 0, c.skipShadows};

    std::size_t rays = 0;
    renderer.traceShadow = [&](miColor* result, miState* ray) -> miBoolean {
        ++rays;
        EXPECT_TRUE(expected.shadowRays < 2 ||
                    reference::agrees(ray->dot_nd, -dot(V3(ray->dir), c.normal), 1e-5));
        const Rgba t = c.occluder(ray->org, ray->dir);
        *result = *result * t.single();
        for (std::size_t i = 0; i < lightPasses.size(); ++i)
            scene.record(static_cast<int>(i)).shadowTransmission *= recordTransmission(i, t).single();
        return t.r >= epsilon || t.g >= epsilon || t.b >= epsilon;
    };
    miVector seen{};
    miColor color = c.point.color;
    const auto evaluate = [&](miState* at, void*) -> void* {
        seen = at->tex_list[0];
        EXPECT_TRUE(vela.flags & VELA_BIT_NOAF);
        return &color;
    };
    const miState before = state;
    miColor result{};
    const auto call = [&](auto* shader, const auto& parameters) {
        ScriptedShader light(parameters);
        light.connect(&light.parameters.color);
        renderer.evaluate = evaluate;
        state.shader = &light.function;
        return shader(&result, &state, &light.parameters) != 0;
    };
    const bool lit =
        c.directional ? call(orcaVelaDirectionalLight, c.directionalOwn) : call(orcaVelaPointLight, c.point);
    EXPECT_EQ(lit, expected.lit);
    if (!expected.lit) return;

    constexpr double tolerance = 1e-3;
    expectNear(result, rgbWith(expected.result, result.a), "result", tolerance);
    EXPECT_EQ(rays, expected.shadowRays);
    for (std::size_t i = 0; i < expected.delivered.size(); ++i)
        expectNear(scene.record(static_cast<int>(i)).lightColor, expected.delivered[i], std::to_string(i),
                   tolerance);
    const LightData& data = vela.lightData;
    if (expected.delivered.empty()) {
        EXPECT_EQ(vela.lightFogColor, BLACK);
        EXPECT_EQ(vela.lightFogTransmission, WHITE);
        EXPECT_EQ(vela.lightGlowColor, BLACK);
    } else {
        EXPECT_NEAR(data.shadowFraction, expected.shadowFraction, tolerance);
        expectNear(data.unshadowedColor, expected.unshadowed, "unshadowed", tolerance);
        EXPECT_FALSE(data.isAmbient || data.reserved0 || data.reserved1);
        EXPECT_TRUE(data.emitDiffuse == c.point.emitDiffuse && data.emitSpecular == c.point.emitSpecular);
        EXPECT_EQ(state.volume, expected.volumeKept ? 5u : 0u);
    }
    EXPECT_TRUE(expected.unshadowed.a == 0 || length(V3(seen) - expected.texture) < 5e-5);
    // What the call puts back.
    EXPECT_EQ(texture.x, 0.25f);
    EXPECT_EQ(vela.flags, flags);
    EXPECT_TRUE(state.dir.x == before.dir.x && state.org.y == before.org.y && state.dot_nd == before.dot_nd);
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

class LightShaders : public ::testing::TestWithParam<bool> {};

TEST_P(LightShaders, MatchTheReference) {
    Random random(2);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        compareWithReference(randomLight(random, GetParam()));
    }
}
INSTANTIATE_TEST_SUITE_P(Kinds, LightShaders, ::testing::Values(false, true),
                         [](const auto& test) { return test.param ? "Directional" : "Point"; });

} // namespace

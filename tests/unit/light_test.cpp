// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaDiscShadow.h"
#include "orcaGuards.h"
#include "orcaVector.h"
#include "orcaVelaDirectionalLight.h"
#include "orcaVelaPointLight.h"

#include <cmath>

namespace {

PointLightParameters plainPoint() {
    PointLightParameters p{};
    p.emitDiffuse = p.emitSpecular = miTRUE;
    p.color = {1.0f, 0.5f, 0.25f, 1.0f};
    p.intensity = 2.0f;
    p.useRayTraceShadows = miTRUE;
    p.shadowColor = {0.1f, 0.2f, 0.3f, 1.0f};
    p.shadowRays = 1;
    p.rayDepthLimit = 10;
    return p;
}

DirectionalLightParameters plainDirectional() {
    DirectionalLightParameters p{};
    p.emitDiffuse = p.emitSpecular = miTRUE;
    p.color = {1.0f, 0.5f, 0.25f, 1.0f};
    p.intensity = 2.0f;
    p.useRayTraceShadows = miTRUE;
    p.shadowColor = {0.1f, 0.2f, 0.3f, 1.0f};
    p.shadowRays = 1;
    p.rayDepthLimit = 10;
    return p;
}

constexpr miColor full{2.0f, 1.0f, 0.5f, 1.0f}; // of both lights, unshadowed

/// A light at (0, 0, 2) over the point at the origin, asked for a light ray.
template <class P>
class LightScene {
public:
    explicit LightScene(const P& values)
        : scene({{PASS_DIFFUSE, "diffuse", FB_SHADOWED},
                 {PASS_DIFFUSE_NO_SHADOW, "unshadowed"},
                 {PASS_SHADOW, "shadow", FB_SHADOWED}}),
          light(values) {
        miState& material = scene.renderer.state;
        material.tex_list = &texture;
        state = scene.renderer.derived(material, miRAY_LIGHT);
        state.org = {0.0f, 0.0f, 2.0f};
        state.dist = 2.0;
        state.dot_nd = 1.0f;
        state.volume = 5;
        state.light_instance = scene.renderer.database.addInstance();
        state.shader = &light.function;
    }
    miColor run() {
        miColor result{};
        lit = call(&result, &state, &light.parameters);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        EXPECT_EQ(texture.x, 0.25f); // put back
        EXPECT_EQ(scene.vela().flags, 0u);
        return result;
    }
    LightData& data() { return scene.vela().lightData; }
    miColor delivered(int record) { return scene.record(record).lightColor; }
    /// Occluders that let this much through, in the picture and in every shadowed record.
    void occlude(const miColor& transmission) {
        scene.renderer.traceShadow = [this, transmission](miColor* c, miState*) -> miBoolean {
            *c = *c * transmission;
            for (int i : {0, 2}) scene.record(i).shadowTransmission *= transmission;
            return !allBelow(*c, VELA_EPS);
        };
    }

    MaterialScene scene;
    ScriptedShader<P> light;
    miState state;
    miVector texture{0.25f, 0.0f, 0.0f};
    miBoolean lit = miFALSE;

private:
    static miBoolean call(miColor* c, miState* s, PointLightParameters* p) {
        return orcaVelaPointLight(c, s, p);
    }
    static miBoolean call(miColor* c, miState* s, DirectionalLightParameters* p) {
        return orcaVelaDirectionalLight(c, s, p);
    }
};

struct DecayCase {
    int rate;
    float distance, share;
};
class Decay : public ::testing::TestWithParam<DecayCase> {};

TEST_P(Decay, DimsBeyondTheUnitDistanceOnly) {
    PointLightParameters p = plainPoint();
    p.decayRate = GetParam().rate;
    LightScene scene(p);
    scene.state.dist = GetParam().distance;
    expectColor(scene.run(), full * GetParam().share);
    expectColor(scene.data().unshadowedColor, full * GetParam().share);
}
INSTANTIATE_TEST_SUITE_P(Rates, Decay,
                         ::testing::Values(DecayCase{0, 2.0f, 1.0f}, DecayCase{1, 2.0f, 0.5f},
                                           DecayCase{2, 2.0f, 0.25f}, DecayCase{3, 2.0f, 0.125f},
                                           DecayCase{2, 0.5f, 1.0f}, DecayCase{3, 1.0f, 1.0f},
                                           DecayCase{4, 2.0f, 1.0f}));

struct FogCase {
    int type, decay;
    float parentDistance, density;
};
class LightFog : public ::testing::TestWithParam<FogCase> {};

TEST_P(LightFog, ReplacesDecayByDensity) {
    PointLightParameters p = plainPoint();
    p.fogType = GetParam().type;
    p.decayRate = GetParam().decay;
    p.fogRadius = 2.0f;
    p.fogIntensity = 0.5f;
    LightScene scene(p);
    scene.scene.renderer.state.dist = GetParam().parentDistance;
    scene.state.dist = 100.0;
    scene.scene.vela().flags = VELA_BIT_ENVLIGHTFOG;
    miColor result{};
    orcaVelaPointLight(&result, &scene.state, &scene.light.parameters);
    expectColor(result, full * (0.5f * GetParam().density));
    EXPECT_EQ(scene.scene.vela().flags, VELA_BIT_ENVLIGHTFOG);
}
// Half way along a ray of length 2 through a fog of radius 2: 1 / (2 + 4 - 1) = 0.2.
INSTANTIATE_TEST_SUITE_P(Kinds, LightFog,
                         ::testing::Values(FogCase{0, 0, 2.0f, 0.2f}, FogCase{0, 2, 2.0f, 0.04f},
                                           FogCase{0, 3, 2.0f, 0.008f}, FogCase{1, 1, 2.0f, 0.04f},
                                           FogCase{1, 2, 2.0f, std::pow(1.0f - std::sqrt(0.8f), 2.0f)},
                                           FogCase{2, 0, 2.0f, std::pow(1.0f - std::sqrt(0.8f), 2.0f)},
                                           FogCase{7, 2, 2.0f, 0.2f}, FogCase{0, 2, 6.0f, 1.0f}));

TEST(LightFogRim, IsFullAndANumber) {
    PointLightParameters p = plainPoint();
    p.fogIntensity = 1.0f;
    for (const float radius : {0.0f, 0.3f, 1000.03f, 1e8f})
        for (const int type : {0, 1, 2, 7}) {
            p.fogType = type;
            p.fogRadius = radius;
            p.decayRate = 2;
            LightScene scene(p);
            scene.scene.renderer.state.dist = 2.0 * radius;
            scene.scene.vela().flags = VELA_BIT_ENVLIGHTFOG;
            miColor result{};
            orcaVelaPointLight(&result, &scene.state, &scene.light.parameters);
            expectColor(result, full);
            // Just inside it is still no more than full.
            scene.scene.renderer.state.dist = 2.0 * std::nextafter(radius, 0.0f);
            orcaVelaPointLight(&result, &scene.state, &scene.light.parameters);
            EXPECT_TRUE(result.r > 0.0f && result.r <= full.r) << radius << ' ' << type;
        }
}

TEST(PointLight, GivesEachRecordItsShadow) {
    LightScene scene(plainPoint());
    scene.occlude({0.5f, 0.25f, 1.0f, 1.0f});
    const miColor shadow = scene.light.parameters.shadowColor;
    const miColor expected{0.5f * 2.0f + 0.5f * shadow.r, 0.25f * 1.0f + 0.75f * shadow.g, 0.5f, 1.0f};
    expectColor(scene.run(), expected);
    EXPECT_NEAR(scene.data().shadowFraction, 1.0f - 1.75f / 3.0f, 1e-6f);
    expectColor(scene.data().unshadowedColor, full);
    expectColor(scene.delivered(0), expected);
    expectColor(scene.delivered(1), full);
    expectColor(scene.delivered(2), full - expected);
    EXPECT_EQ(scene.state.volume, 5u);
}

struct ShadowCase {
    bool depthMap;
    miColor color;
};
class BlockedLight : public ::testing::TestWithParam<ShadowCase> {};

TEST_P(BlockedLight, LeavesTheShadowColour) {
    PointLightParameters p = plainPoint();
    p.useDepthMapShadows = GetParam().depthMap;
    LightScene scene(p);
    scene.scene.renderer.options.use_shadow_maps = 1;
    scene.occlude(BLACK);
    expectColor(scene.run(), GetParam().color);
    EXPECT_EQ(scene.lit, miTRUE);
    EXPECT_EQ(scene.data().shadowFraction, 1.0f);
    EXPECT_EQ(scene.state.volume, GetParam().depthMap ? miNULLTAG : 5u);
}
INSTANTIATE_TEST_SUITE_P(Kinds, BlockedLight,
                         ::testing::Values(ShadowCase{false, {0.1f, 0.2f, 0.3f, 1.0f}},
                                           ShadowCase{true,
                                                      {0.2f, 0.4f, 0.6f, 1.0f}})); // scaled by the intensity

template <class P>
void expectUnshadowed(LightScene<P>& scene, const char* why) {
    SCOPED_TRACE(why);
    scene.occlude(BLACK);
    expectColor(scene.run(), full);
    EXPECT_EQ(scene.scene.renderer.callCount("mi_trace_shadow"), 0);
    expectColor(scene.delivered(0), full);
    expectColor(scene.delivered(2), BLACK);
    EXPECT_EQ(scene.state.volume, miNULLTAG);
}

TEST(PointLight, TracesNoShadowWhereNoneIsWanted) {
    {
        PointLightParameters p = plainPoint();
        p.shadowRays = 0;
        LightScene scene(p);
        expectUnshadowed(scene, "no shadow rays");
    }
    {
        PointLightParameters p = plainPoint();
        p.rayDepthLimit = 1;
        LightScene scene(p);
        scene.state.reflection_level = 1;
        expectUnshadowed(scene, "at the depth limit");
    }
    {
        LightScene scene(plainPoint());
        scene.data().skipShadows = miTRUE;
        expectUnshadowed(scene, "the material asks for none");
    }
    {
        LightScene scene(plainPoint());
        scene.scene.vela().throughputCutoff = 1.0f;
        expectUnshadowed(scene, "a path at the cut-off");
    }
    {
        LightScene scene(plainPoint());
        scene.scene.renderer.state.type = miRAY_SHADOW;
        expectUnshadowed(scene, "inside a shadow");
    }
    {
        LightScene scene(plainPoint());
        scene.scene.renderer.options.trace = miFALSE;
        expectUnshadowed(scene, "no ray tracing");
    }
}

TEST(PointLight, AnswersOtherRaysWithItsBareColour) {
    LightScene scene(plainPoint());
    scene.state.type = miRAY_EYE;
    scene.light.parameters.color.a = 0.3f;
    EXPECT_EQ(scene.run(), full);
    EXPECT_EQ(scene.scene.vela().lightFogTransmission, WHITE);
    EXPECT_EQ(scene.scene.renderer.callCount("mi_trace_shadow"), 0);
}

TEST(PointLight, IsDarkBehindAOneSidedArea) {
    LightScene scene(plainPoint());
    auto& database = scene.scene.renderer.database;
    const miTag shape = database.add(miSCENE_LIGHT, miLight{});
    database.element<miInstance>(scene.state.light_instance).item = shape;
    scene.scene.renderer.answer<int>(miQ_LIGHT_AREA, miLIGHT_DISC, shape);
    scene.scene.renderer.answer(miQ_LIGHT_AREA_D_NORMAL, miVector{0.0f, 0.0f, 1.0f}, shape);
    scene.run();
    EXPECT_EQ(scene.lit, miFALSE);
    scene.state.dir = {0.0f, 0.0f, 1.0f};
    scene.run();
    EXPECT_EQ(scene.lit, miTRUE);
    scene.state.type = miRAY_EYE;
    EXPECT_EQ(scene.run(), (miColor{0, 0, 0, 1}));
}

TEST(PointLight, LaysItsTextureAllAboutItself) {
    LightScene scene(plainPoint());
    miVector seen{};
    scene.state.point = {1.0f, 1.0f, 1.0f};
    scene.light.connect(&scene.light.parameters.color);
    scene.scene.renderer.evaluate = [&](miState* state, void*) -> void* {
        seen = state->tex_list[0];
        EXPECT_EQ(scene.scene.vela().flags, VELA_BIT_NOAF);
        static miColor white = WHITE;
        return &white;
    };
    scene.run();
    EXPECT_NEAR(seen.x, 0.625f, 1e-6f);
    EXPECT_NEAR(seen.y, std::atan(1.0f / std::sqrt(2.0f)) / 3.1415927f + 0.5f, 1e-6f);
    EXPECT_EQ(seen.z, 1.0f);
}

TEST(DirectionalLight, LightsOnlyBeforeItsPositionWhenThatCounts) {
    DirectionalLightParameters p = plainDirectional();
    p.useLightPosition = miTRUE;
    LightScene scene(p);
    scene.state.point = {0.0f, 0.0f, -3.0f}; // the light stands at the origin and shines along -z
    scene.run();
    EXPECT_EQ(scene.lit, miTRUE);
    scene.state.point = {0.0f, 0.0f, 3.0f};
    scene.run();
    EXPECT_EQ(scene.lit, miFALSE);
}

// --- soft shadows
// -------------------------------------------------------------------------------------------------------

/// What the soft shadow's rays meet, by their number from 1.
using Occluders = miColor (*)(int ray);

struct SoftCase {
    Occluders occluders;
    int rays;           // traced in all, for 4 in the first set
    float transmission; // of the picture
    float recordShare;  // of the passes, relative to the picture
};

miColor clear(int) {
    return WHITE;
}
miColor opaque(int) {
    return BLACK;
}
miColor halfOpaque(int ray) {
    return ray % 2 ? WHITE : BLACK;
}
miColor tinted(int) {
    return {0.5f, 0.5f, 0.5f, 0.5f};
}
miColor tintedAtFirst(int ray) {
    return ray == 1 ? tinted(1) : WHITE;
}
miColor alwaysMixed(int ray) {
    return ray % 4 == 1 ? tinted(1) : WHITE;
}

class SoftShadow : public ::testing::TestWithParam<SoftCase> {};

template <class P>
void expectSoftShadow(LightScene<P>& scene, const SoftCase& c) {
    scene.light.parameters.shadowRays = 4;
    scene.light.parameters.shadowColor = BLACK;
    int rays = 0;
    const miState before = scene.state;
    scene.scene.renderer.traceShadow = [&](miColor* color, miState* state) -> miBoolean {
        EXPECT_NEAR(length(state->dir), 1.0f, 1e-5f);
        const miColor t = c.occluders(++rays);
        *color = *color * t;
        for (int i : {0, 2}) scene.scene.record(i).shadowTransmission *= t;
        return !allBelow(t, VELA_EPS);
    };
    const miColor result = scene.run();
    EXPECT_EQ(rays, c.rays);
    expectColor(result, full * c.transmission);
    EXPECT_NEAR(scene.data().shadowFraction, 1.0f - c.transmission, 1e-5f);
    expectColor(scene.delivered(0), full * (c.transmission * c.recordShare));
    EXPECT_EQ(scene.state.dir.z, before.dir.z);
    EXPECT_EQ(scene.state.org.z, before.org.z);
    EXPECT_EQ(scene.state.dot_nd, before.dot_nd);
}

TEST_P(SoftShadow, OfAPointLightAdaptsToPartTransmission) {
    PointLightParameters p = plainPoint();
    p.lightRadius = 0.5f;
    LightScene scene(p);
    expectSoftShadow(scene, GetParam());
}

TEST_P(SoftShadow, OfADirectionalLightAdaptsToPartTransmission) {
    DirectionalLightParameters p = plainDirectional();
    p.lightAngle = 5.0f;
    LightScene scene(p);
    expectSoftShadow(scene, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Occluders, SoftShadow,
    ::testing::Values(SoftCase{clear, 4, 1.0f, 1.0f}, SoftCase{opaque, 4, 0.0f, 1.0f},
                      SoftCase{halfOpaque, 4, 0.5f, 1.0f}, // opaque ones ask for no more rays
                      SoftCase{tinted, 4, 0.5f, 1.0f},
                      SoftCase{tintedAtFirst, 20, 0.2f * 0.875f + 0.8f, 1.0f},
                      // Both sets mixed: the records are divided by four times the rays taken.
                      SoftCase{alwaysMixed, 20, 0.875f, 0.25f}));

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

TEST(SoftShadowRays, SpreadOverTheLightsDisc) {
    PointLightParameters p = plainPoint();
    p.lightRadius = 0.5f;
    p.shadowRays = 64;
    LightScene scene(p);
    float widest = 0.0f, mean = 0.0f;
    scene.scene.renderer.traceShadow = [&](miColor*, miState* state) -> miBoolean {
        const miVector offset = state->org - miVector{0.0f, 0.0f, 2.0f};
        EXPECT_NEAR(offset.z, 0.0f, 1e-6f);
        widest = std::max(widest, length(offset));
        mean += dot(offset, offset) / 64.0f;
        return miTRUE;
    };
    scene.run();
    EXPECT_LE(widest, 0.5f);
    EXPECT_NEAR(mean, 0.125f, 0.01f); // half the squared radius: uniform over the area
}

TEST(SoftShadowRays, AreFewerOnPathsOfLittleWeight) {
    const auto raysAt = [](float weight) {
        PointLightParameters p = plainPoint();
        p.lightRadius = 0.5f;
        p.shadowRays = 16;
        LightScene scene(p);
        scene.scene.vela().throughputCutoff = 0.1f;
        scene.scene.vela().throughputUpper = 0.5f;
        scene.scene.vela().throughput = WHITE * weight;
        scene.run();
        return scene.scene.renderer.callCount("mi_trace_shadow");
    };
    EXPECT_EQ(raysAt(0.5f), 16);
    EXPECT_EQ(raysAt(0.3f), 8); // (16 x 0.2 + 0.2) / 0.4 = 8.5
    EXPECT_EQ(raysAt(0.101f), 1);
    EXPECT_EQ(raysAt(0.1f), 0);
}

TEST(SoftShadowRays, AreOneInsideAGather) {
    PointLightParameters p = plainPoint();
    p.lightRadius = 0.5f;
    p.shadowRays = 16;
    LightScene scene(p);
    scene.scene.renderer.answer<int>(miQ_FINALGATHER_STATE, 1);
    scene.run();
    EXPECT_EQ(scene.scene.renderer.callCount("mi_trace_shadow"), 1);
}

TEST(Lights, WarnWithoutTheBaseState) {
    ScriptedRenderer renderer;
    miColor result;
    ScriptedShader<PointLightParameters> point;
    ScriptedShader<DirectionalLightParameters> directional;
    EXPECT_EQ(orcaVelaPointLight(&result, &renderer.state, &point.parameters), miFALSE);
    EXPECT_EQ(orcaVelaDirectionalLight(&result, &renderer.state, &directional.parameters), miFALSE);
    EXPECT_EQ(renderer.messagesOf('w'),
              (std::vector<std::string>{"vela_pointlight(): Internal state error.",
                                        "vela_directionallight(): Internal state error."}));
}

} // namespace

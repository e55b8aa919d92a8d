// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaOcean.h"
#include "orcaOceanShading.h"
#include "orcaOceanTexture.h"
#include "orcaOceanWaves.h"
#include "orcaVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

Ramp constantRamp(float value) {
    Ramp ramp{};
    ramp.count = 1;
    ramp.scalars[0] = value;
    return ramp;
}

/// Parameters of a wave field, prepared when it is asked.
struct Sea {
    float patternScale = 1.0f;
    miVector wind{1.0f, 0.0f, 0.0f};
    float drift = 0.0f, spread = 0.0f, octaves = 1.0f, minWavelength = 4.0f, maxWavelength = 4.0f;
    Ramp height = constantRamp(1.0f), turbulence = constantRamp(0.0f), peaking = constantRamp(0.0f);
    float foamRate = 0.0f, foamCutoff = 0.5f, filter = 0.0f;

    struct Answer {
        float height, foam;
    };
    [[nodiscard]] Answer at(float x, float z, float time) const {
        float scale = patternScale, low = minWavelength, high = maxWavelength, count = octaves, ratio = 0.0f;
        ocean_prepare(scale, low, high, count, ratio);
        Answer answer{-1.0f, -1.0f};
        ocean_compute(x, z, time, &answer.height, &answer.foam, scale, &wind, drift, spread, count, low, high,
                      &height, &turbulence, &peaking, foamRate, foamCutoff, ratio, filter);
        return answer;
    }
};

/// Calls body(x, z, time) at points and times that have nothing to do with the waves.
template <class Body>
void forScatteredPoints(int count, const Body& body) {
    for (int i = 0; i < count; ++i) {
        const auto n = static_cast<float>(i);
        body(std::fmod(n * 7.31f, 41.0f) - 20.0f, std::fmod(n * 3.77f, 37.0f) - 18.0f,
             std::fmod(n * 0.83f, 9.0f));
    }
}

TEST(OceanWaves, TravelAgainstTheWindAtTheSpeedOfDeepWater) {
    for (const float wavelength : {0.5f, 4.0f, 60.0f}) {
        Sea sea;
        sea.minWavelength = sea.maxWavelength = wavelength;
        sea.wind = {3.0f, 4.0f, 0.0f};
        const double speed = std::sqrt(9.81 * wavelength / (2.0 * pi));
        for (const float time : {0.0f, 0.7f, 2.5f}) {
            const auto travel = static_cast<float>(speed * time);
            // The crest of the start, followed down the wind.
            EXPECT_NEAR(sea.at(-0.6f * travel, -0.8f * travel, time).height, 0.125f * wavelength,
                        2e-4f * wavelength);
            const float half = 0.5f * wavelength;
            EXPECT_NEAR(sea.at(-0.6f * (travel + half), -0.8f * (travel + half), time).height,
                        -0.125f * wavelength, 2e-4f * wavelength);
        }
    }
}

TEST(OceanWaves, KeepTheirPlaceWhenThePatternDriftsWithThem) {
    Sea sea;
    sea.drift = 1.0f;
    forScatteredPoints(20, [&](float x, float z, float time) {
        EXPECT_NEAR(sea.at(x, z, time).height, sea.at(x, z, 0.0f).height, 1e-4f);
    });
}

TEST(OceanWaves, AreAsManyAsTheOctaveCountSays) {
    const struct {
        float count, crests;
    } cases[] = {{-1.0f, 0.0f}, {0.0f, 0.0f}, {0.4f, 0.4f}, {1.0f, 1.0f}, {2.5f, 2.5f}, {3.0f, 3.0f}};
    for (const auto& c : cases) {
        Sea sea; // equal waves, all with a crest at the origin
        sea.octaves = c.count;
        sea.foamRate = 1.0f;
        const Sea::Answer answer = sea.at(0.0f, 0.0f, 0.0f);
        EXPECT_NEAR(answer.height, 0.5f * c.crests, 1e-5f) << c.count;
        if (c.crests == 0.0f) {
            EXPECT_EQ(answer.foam, 0.0f);
        }
    }
}

TEST(OceanWaves, SpanTheirRangeWhicheverEndIsGivenFirst) {
    Sea sea;
    sea.octaves = 4.3f;
    sea.spread = 0.6f;
    sea.turbulence = constantRamp(0.4f);
    sea.minWavelength = 0.3f;
    Sea swapped = sea;
    std::swap(swapped.minWavelength, swapped.maxWavelength);
    forScatteredPoints(20, [&](float x, float z, float time) {
        EXPECT_EQ(sea.at(x, z, time).height, swapped.at(x, z, time).height);
    });
    // From octave to octave wavelengths shrink in proportion, to reach the shortest after as many steps.
    Sea two;
    two.octaves = 2.0f;
    two.minWavelength = 1.0f;
    for (const float x : {0.0f, 0.5f, 1.3f})
        EXPECT_NEAR(two.at(x, 0.0f, 0.0f).height,
                    0.125f * (4.0 * std::cos(2 * pi * x / 4.0) + 2.0 * std::cos(2 * pi * x / 2.0)), 1e-4f);
}

TEST(OceanWaves, ScaleWithThePattern) {
    Sea sea;
    sea.octaves = 3.0f;
    sea.minWavelength = 0.7f;
    sea.turbulence = constantRamp(0.5f);
    sea.peaking = constantRamp(0.5f);
    Sea small = sea;
    small.patternScale = 10.0f;
    forScatteredPoints(20, [&](float x, float z, float time) {
        EXPECT_NEAR(small.at(0.1f * x, 0.1f * z, time).height, 0.1f * sea.at(x, z, time).height, 2e-4f);
    });
}

TEST(OceanWaves, TurbulenceRidesOnTheWaveUnlessDirectionsSpreadBeyondRandom) {
    for (const float spread : {0.0f, 0.5f, 1.0f, 1.7f}) {
        Sea sea;
        sea.turbulence = constantRamp(1.0f);
        sea.spread = spread;
        const float share = spread > 1.0f ? 0.0f : 0.7f * (1.0f - spread);
        forScatteredPoints(10, [&](float x, float z, float time) {
            const float carried = x + share * time * oceanWaveSpeed(4.0f);
            const float expected =
                0.125f * ocean_water_turbulence(carried, z, time, 4.0f, 3.2f, 1, nullptr, nullptr);
            EXPECT_NEAR(sea.at(x, z, time).height, expected, 2e-4f) << spread;
        });
    }
}

TEST(OceanWaves, PeakingPinchesCrests) {
    // Pinching moves points, so heights stay within bounds while crests become rarer than troughs.
    Sea round;
    round.turbulence = constantRamp(1.0f);
    Sea pinched = round;
    pinched.peaking = constantRamp(1.0f);
    const auto shareAbove = [](const Sea& sea) {
        int above = 0, all = 0;
        for (float x = 0.0f; x < 60.0f; x += 0.37f)
            for (float z = 0.0f; z < 60.0f; z += 0.41f, ++all) above += sea.at(x, z, 1.0f).height > 0.0f;
        return static_cast<double>(above) / all;
    };
    EXPECT_LT(shareAbove(pinched), shareAbove(round) - 0.02);
}

TEST(OceanTurbulence, SlopesAreThoseOfItsHeight) {
    constexpr float wavelength = 3.0f,
                    step = 2e-3f; // equal waves: the slope is the height's over the wavelength
    forScatteredPoints(20, [&](float x, float z, float time) {
        const auto height = [&](float atX, float atZ) {
            return ocean_water_turbulence(atX, atZ, time, wavelength, wavelength, 77, nullptr, nullptr);
        };
        float gx = 0.0f, gz = 0.0f;
        EXPECT_EQ(ocean_water_turbulence(x, z, time, wavelength, wavelength, 77, &gx, &gz), height(x, z));
        EXPECT_NEAR((height(x + step, z) - height(x - step, z)) / (2.0f * step), wavelength * gx, 0.03f);
        EXPECT_NEAR((height(x, z + step) - height(x, z - step)) / (2.0f * step), wavelength * gz, 0.03f);
    });
}

TEST(OceanFoam, LiesOnCrestsBrokenUpAndNeverBelowNothing) {
    Sea sea;
    sea.foamRate = 1.0f;
    sea.foamCutoff = 0.4f;                          // crests reach 0.75 of a threshold of 0.6
    EXPECT_EQ(sea.at(2.0f, 0.0f, 0.0f).foam, 0.0f); // in the trough
    float least = 1e9f, most = 0.0f;
    for (float z = 0.0f; z < 40.0f; z += 0.25f) {
        const float foam = sea.at(0.0f, z, 0.0f).foam;
        least = std::min(least, foam);
        most = std::max(most, foam);
    }
    EXPECT_GT(least, 0.0f);
    EXPECT_GT(most, least + 0.1f) << "noise along the crest";

    Sea coarse = sea; // what a pixel far away covers: foam fades evenly
    coarse.filter = 40.0f;
    EXPECT_NEAR(coarse.at(0.0f, 3.0f, 0.0f).foam, coarse.at(0.0f, 17.0f, 0.0f).foam, 0.02f);

    sea.octaves = 5.0f;
    sea.minWavelength = 0.3f;
    sea.turbulence = constantRamp(0.7f);
    sea.peaking = constantRamp(0.6f);
    sea.spread = 0.4f;
    sea.foamCutoff = 0.6f;
    bool any = false;
    forScatteredPoints(300, [&](float x, float z, float time) {
        const Sea::Answer answer = sea.at(x, z, time);
        ASSERT_GE(answer.foam, 0.0f);
        any |= answer.foam > 0.0f;
        Sea bare = sea; // foam leaves the waves alone
        bare.foamRate = 0.0f;
        EXPECT_EQ(bare.at(x, z, time).height, answer.height);
        EXPECT_EQ(bare.at(x, z, time).foam, 0.0f);
    });
    EXPECT_TRUE(any);
}

TEST(OceanFoam, CoversColourOpacityAndMirrorImages) {
    const miColor water{0.1f, 0.2f, 0.3f, 0.7f}, white{0.9f, 0.8f, 0.6f, 1.0f};
    const struct {
        float foam, tint, keep, add;
    } cases[] = {{-1.0f, 0, 1, 0},        {0.0f, 0, 1, 0},          {0.2f, 0.2f, 1, 0},
                 {0.3f, 0.3f, 1, 0},      {0.7f, 0.5f, 0.8f, 0.4f}, {1.3f, 0.5f, 0.5f, 1.0f},
                 {9.0f, 0.5f, 0.0f, 1.0f}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.foam);
        miColor color = water, opacity{0.2f, 0.2f, 0.2f, 0.4f}, mirror = WHITE;
        oceanshader_apply_foam(c.foam, &WHITE, &white, &color, OCEAN_FOAM_OPAQUE, &opacity, &mirror);
        expectColor(color, c.keep * (water + c.tint * white) + c.add * white);
        EXPECT_EQ(color.a, 0.7f);
        expectColor(opacity, (1.0f - 0.8f * c.keep) * WHITE);
        expectColor(mirror, c.keep * WHITE);
        oceanshader_apply_foam(c.foam, nullptr, nullptr, nullptr, OCEAN_FOAM_OPAQUE, nullptr, nullptr);
        miColor untouched{0.2f, 0.2f, 0.2f, 1.0f};
        oceanshader_apply_foam(c.foam, &WHITE, &white, nullptr, 0, &untouched, nullptr);
        EXPECT_EQ(untouched.r, 0.2f);
    }
}

TEST(OceanLight, ReflectsByFresnelsEquations) {
    EXPECT_NEAR(oceanFresnel(1.0f, 1.333f), std::pow(0.333 / 2.333, 2.0), 1e-6);
    EXPECT_NEAR(oceanFresnel(0.0f, 1.333f), 1.0f, 1e-6f);
    EXPECT_EQ(oceanFresnel(-0.5f, 1.333f), oceanFresnel(0.0f, 1.333f));
    // At Brewster's angle only light across the plane of incidence returns: ((n^2 - 1) / (n^2 + 1))^2 / 2.
    const double n = 1.333, brewster = 1.0 / std::sqrt(1.0 + n * n);
    EXPECT_NEAR(oceanFresnel(static_cast<float>(brewster), 1.333f),
                0.5 * std::pow((n * n - 1) / (n * n + 1), 2.0), 1e-6);
    EXPECT_EQ(oceanFresnel(0.5f, 1.0f / 1.333f), 1.0f); // total internal reflection
}

TEST(OceanLight, ComesThroughCrestsAboveTheCutoff) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    state.dir = {0.0f, 0.0f, -1.0f};
    const auto through = [&](float level, const miVector& toLight, float softness) {
        return compute_oceanshader_diffuse(&state, level, &toLight, 123.0f, 2.0f, softness, 0.5f, 0.2f,
                                           nullptr);
    };
    const miVector behind{0.0f, 0.0f, -1.0f}, ahead{0.0f, 0.0f, 1.0f}, aside{1.0f, 0.0f, 0.0f};
    EXPECT_EQ(through(0.49f, behind, 0.0f), 0.0f);
    EXPECT_NEAR(through(0.55f, behind, 0.0f), 0.5f, 1e-5f); // a quarter up the range
    EXPECT_EQ(through(5.0f, aside, 0.0f), 2.0f);
    EXPECT_NEAR(through(5.0f, behind, 0.75f), 2.0f, 1e-4f);
    EXPECT_NEAR(through(5.0f, aside, 0.75f), 0.25f, 1e-4f); // (1/2)^3
    EXPECT_EQ(through(5.0f, ahead, 0.75f), 0.0f);
}

TEST(OceanLight, HighlightIsStrongestInTheMirrorDirectionAndReducedForEyeRays) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    state.dir = normalized({1.0f, -1.0f, 0.0f});
    const miVector normal{0.0f, 1.0f, 0.0f};
    const auto strength = [&](const miVector& toLight) {
        const miVector l = normalized(toLight);
        return compute_oceanshader_specular(dot(normal, l), -dot(normal, state.dir), &l, 0.5f, 0.2f, 0.25f,
                                            &normal, &state);
    };
    state.type = miRAY_REFLECT;
    const float peak = strength({1.0f, 1.0f, 0.0f});
    // Head on for the facets: distribution 1, and nothing shadowed: 1 / N.V.
    EXPECT_NEAR(peak, 0.5f * std::sqrt(2.0f), 1e-4f);
    EXPECT_LT(strength({1.0f, 2.5f, 0.0f}), 0.5f * peak);
    state.type = miRAY_EYE;
    EXPECT_NEAR(strength({1.0f, 1.0f, 0.0f}), 0.25f * peak, 1e-5f);
}

/// The material on the hit of a scene with passes.
class OceanMaterial : public ::testing::Test {
protected:
    static OceanShaderParameters parameters() {
        OceanShaderParameters p{};
        static_cast<SurfaceParameters&>(p) = plainLambert();
        p.color = {0.1f, 0.2f, 0.3f, 1.0f};
        p.diffuse = 1.0f;
        p.refractiveIndex = 1.333f;
        p.patternScale = p.speedScale = p.filterScale = 1.0f;
        p.windVector = {1.0f, 0.5f, 0.0f};
        p.octaveCount = 3.0f;
        p.minWavelength = 1.0f;
        p.maxWavelength = 5.0f;
        p.n_heightRamp = p.n_turbulenceRamp = 1;
        p.heightRamp[0] = {0.0f, 0.6f, RAMP_LINEAR};
        p.turbulenceRamp[0] = {0.0f, 0.5f, RAMP_LINEAR};
        p.normalBlur = 0.001f;
        p.foamColor = WHITE;
        return p;
    }
    struct Instance {
        Instance(MaterialScene& inScene, const OceanShaderParameters& values)
            : scene(inScene), shader(values) {
            miState& state = scene.renderer.state;
            state.normal = state.normal_geom = {0.0f, 1.0f, 0.0f};
            state.dir = {0.0f, -1.0f, 0.0f};
            state.dot_nd = -1.0f;
            state.shader = &shader.function;
            miBoolean required = miFALSE;
            orcaVelaOceanShader_init(&scene.renderer.state, &shader.parameters, &required);
        }
        ~Instance() { orcaVelaOceanShader_exit(&scene.renderer.state, &shader.parameters); }
        OceanShaderReturnType shade() {
            OceanShaderReturnType result{};
            EXPECT_TRUE(orcaVelaOceanShader(&result, &scene.renderer.state, &shader.parameters));
            return result;
        }
        MaterialScene& scene;
        ScriptedShader<OceanShaderParameters> shader;
    };
    /// Height at world (x, z).
    static float heightAt(Instance& ocean, float x, float z) {
        miState& state = ocean.scene.renderer.state;
        const miVector before = state.point;
        state.point = {x, 0.0f, z};
        const float height =
            oceanshader_compute_texture(nullptr, nullptr, nullptr, &state, &ocean.shader.parameters);
        state.point = before;
        return height;
    }
};

TEST_F(OceanMaterial, NormalsFollowTheHeight) {
    MaterialScene scene(std::vector<ScenePass>{});
    Instance ocean(scene, parameters());
    miState& state = scene.renderer.state;
    scene.vela().filterEnabled = miFALSE;
    scene.vela().fixedFilterSize = 0.0f;
    constexpr float step = 1e-2f;
    for (const float x : {-3.0f, 0.2f, 7.7f})
        for (const float z : {-5.0f, 1.1f}) {
            miVector normal{0.0f, 1.0f, 0.0f};
            state.point = {x, 0.0f, z};
            float foam = -1.0f, height = 0.0f;
            ocean.shader.parameters.normalBlur = step;
            EXPECT_EQ(oceanshader_compute_texture(&height, &foam, &normal, &state, &ocean.shader.parameters),
                      height);
            const float dx = (heightAt(ocean, x + step, z) - heightAt(ocean, x - step, z)) / (2.0f * step);
            const float dz = (heightAt(ocean, x, z + step) - heightAt(ocean, x, z - step)) / (2.0f * step);
            EXPECT_NEAR(length(normal), 1.0f, 1e-5f);
            EXPECT_NEAR(-normal.x / normal.y, dx, 0.05f); // one-sided differences over a curved surface
            EXPECT_NEAR(-normal.z / normal.y, dz, 0.05f);
            EXPECT_EQ(foam, 0.0f);
        }
}

TEST_F(OceanMaterial, AnswersDisplacementCallsWithTheHeightAlone) {
    MaterialScene scene(std::vector<ScenePass>{{PASS_BEAUTY, "beauty"}});
    scene.addLight({0.0f, 1.0f, 0.0f});
    OceanShaderParameters p = parameters();
    p.heightInput = 10.0f;
    Instance ocean(scene, p);
    const float height = heightAt(ocean, 0.0f, 0.0f);
    EXPECT_GT(height, 9.0f);
    for (const int type : {static_cast<int>(miRAY_DISPLACE), miRAY_MRFM_DISPLACE}) {
        scene.renderer.state.type = static_cast<miRay_type>(type);
        const OceanShaderReturnType result = ocean.shade();
        EXPECT_EQ(result.displacement, height);
        EXPECT_EQ(result.color.r, 0.0f);
    }
    scene.renderer.state.type = miRAY_EYE;
    EXPECT_NEAR(ocean.shade().displacement, height, 1e-4f);
}

TEST_F(OceanMaterial, FoamBiasMayLeaveLessThanNoFoam) {
    MaterialScene scene(std::vector<ScenePass>{});
    OceanShaderParameters p = parameters();
    p.foamBias = -0.25f;
    Instance ocean(scene, p);
    EXPECT_EQ(ocean.shade().foam, -0.25f);
    ocean.shader.parameters.foamBias = 3.0f; // closed foam: all that is left is its diffuse white
    scene.addLight({0.0f, 1.0f, 0.0f});
    const OceanShaderReturnType foamy = ocean.shade();
    EXPECT_NEAR(foamy.diffuse.r, foamy.diffuse.b, 1e-5f);
    EXPECT_GT(foamy.diffuse.r, 0.8f);
    EXPECT_EQ(foamy.specular.r, 0.0f);
}

TEST_F(OceanMaterial, FlatWaterIsAPlaneWithoutOctaves) {
    MaterialScene scene(std::vector<ScenePass>{});
    OceanShaderParameters p = parameters();
    p.octaveCount = 0.0f;
    p.foamBias = 0.5f;
    Instance ocean(scene, p);
    miVector normal{0.0f, 1.0f, 0.0f};
    float height = 1.0f, foam = 1.0f;
    oceanshader_compute_texture(&height, &foam, &normal, &scene.renderer.state, &ocean.shader.parameters);
    EXPECT_EQ(height, 0.0f);
    EXPECT_EQ(foam, 0.5f);
    EXPECT_EQ(normal.y, 1.0f);
}

} // namespace

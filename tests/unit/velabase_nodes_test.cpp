// SPDX-License-Identifier: Apache-2.0
/// The sky, ramps, the solid noise and what textures are filtered over, from their formulas.
#include "material_scene.h"
#include "orcaNoise.h"
#include "orcaRamp.h"
#include "orcaVector.h"
#include "velaTextureSpace.h"

#include <algorithm>
#include <cmath>
#include <numbers>

extern "C" {
miBoolean velaRamp(miColor*, miState*, void*);
miBoolean velaSky(miColor*, miState*, void*);
miBoolean velaSolidNoise(miColor*, miState*, void*);
}

namespace {

/// The records as declared.
struct SkyRecord {
    miColor zenith, horizon, ground;
    miScalar horizonFalloff;
    miVector sunDirection;
    miColor sunColor;
    miScalar sunAngle;
    miBoolean sunMirrored;
    miColor glowColor;
    miScalar glowFalloff;
    miColor clouds[2];
    miScalar cloudCover, cloudScale, cloudStretch;
};
struct RampRecord {
    miInteger type;
    miVector coordinate;
    int start, count;
    RampColorEntry entries[2];
};
struct NoiseRecord {
    miColor low, high;
    miScalar frequency;
    miInteger octaves;
    miScalar lacunarity, gain, contrast;
    miInteger space;
};
/// What a node shows where `state` is.
template <class Record>
miColor shown(miBoolean (*node)(miColor*, miState*, void*), miState state, const Record& record) {
    ScriptedShader<Record> shader{record};
    state.shader = &shader.function;
    miColor color{};
    EXPECT_EQ(node(&color, &state, &shader.parameters), miTRUE);
    return color;
}

TEST(Sky, FadesFromTheHorizonToBothEndsAndShowsTheSunToTheEye) {
    ScriptedRenderer renderer;
    SkyRecord p{};
    p.zenith = {0.1f, 0.2f, 0.9f, 1};
    p.horizon = {0.8f, 0.7f, 0.6f, 1};
    p.ground = {0.3f, 0.2f, 0.1f, 1};
    p.horizonFalloff = 2.0f;
    p.sunDirection = {3, 0, 0};
    p.sunColor = {5, 4, 3, 1};
    p.sunAngle = 1.0f;
    p.glowColor = {0.5f, 0.25f, 0, 1};
    p.glowFalloff = 3.0f;
    const float slant = std::sqrt(0.75f);
    const struct {
        miVector direction;
        miRay_type ray;
        miBoolean mirrored;
        float zenith, ground, glow, sun; // shares; the horizon has what the first two leave
    } cases[] = {{{0, 2, 0}, miRAY_EYE, miFALSE, 1, 0, 0.125f, 0},
                 {{0, -1, 0}, miRAY_EYE, miFALSE, 0, 1, 0.125f, 0},
                 {{-slant, 0.5f, 0}, miRAY_EYE, miFALSE, 0.75f, 0, std::pow(0.5f - 0.5f * slant, 3.0f), 0},
                 {{0, -0.5f, slant}, miRAY_EYE, miFALSE, 0, 0.75f, 0.125f, 0},
                 {{1, 0, 0}, miRAY_EYE, miFALSE, 0, 0, 1, 1},
                 {{1, 0, 0}, miRAY_TRANSPARENT, miFALSE, 0, 0, 1, 1},
                 {{1, 0, 0}, miRAY_REFLECT, miFALSE, 0, 0, 1, 0},
                 {{1, 0, 0}, miRAY_REFLECT, miTRUE, 0, 0, 1, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        miState state = renderer.derived(renderer.state, c.ray);
        state.dir = c.direction;
        p.sunMirrored = c.mirrored;
        const miColor expected = p.zenith * c.zenith + p.ground * c.ground +
                                 p.horizon * (1.0f - c.zenith - c.ground) + p.glowColor * c.glow +
                                 p.sunColor * c.sun;
        const miColor seen = shown(velaSky, state, p);
        expectColor(seen, expected);
        EXPECT_EQ(seen.a, 1.0f);
    }
}

TEST(SolidNoise, AddsUpItsOctavesInItsSpace) {
    ScriptedRenderer renderer;
    renderer.internalToObject[12] = 1.0f;
    renderer.internalToWorld[13] = 2.0f;
    renderer.state.point = {0.3f, -0.2f, 0.7f};
    for (const int octaves : {0, 1, 3, 99}) // at least one, at most 16
        for (const int space : {0, 1}) {
            const NoiseRecord record{{0, 0.5f, 0, 1}, {1, 1, 0, 1}, 3.0f, octaves, 2.5f, 0.5f, 0.8f, space};
            const miColor color = shown(velaSolidNoise, renderer.state, record);
            const double x = space == 0 ? 1.3 : 0.3, y = space == 0 ? -0.2 : 1.8;
            double sum = 0, total = 0, scale = 3.0 / 32, strength = 1;
            for (int i = 0; i < std::clamp(octaves, 1, 16); ++i, scale *= 2.5, strength *= 0.5) {
                sum += strength * noise_scalar_3d(x * scale, y * scale, 0.7 * scale);
                total += strength;
            }
            const double share = 0.5 + 0.4 * sum / total;
            EXPECT_NEAR(color.r, share, 1e-3) << octaves; // fine octaves magnify the point's rounding
            EXPECT_NEAR(color.g, 0.5 + 0.5 * share, 1e-3) << octaves;
        }
}

TEST(RampTexture, FollowsItsPattern) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    RampRecord p{0, {}, 0, 2, {{0.0f, {0, 0, 0, 1}, RAMP_LINEAR}, {1.0f, {1, 1, 1, 1}, RAMP_LINEAR}}};
    // Calls without a surface, of lights and environments say, come without texture spaces: at the origin.
    EXPECT_EQ(shown(velaRamp, state, p).g, 0.0f);
    miVector at{1.2f, -0.3f, 0.0f}; // which is (0.2, 0.7)
    state.tex_list = &at;
    const double angle = std::atan2(0.2, -0.3) / (2 * std::numbers::pi);
    const double positions[] = {0.7, 0.2, 0.45, angle + 0.5, 2 * std::hypot(0.3, 0.2), 0.6};
    for (p.type = 0; p.type < 6; ++p.type)
        EXPECT_NEAR(shown(velaRamp, state, p).g, positions[p.type], 1e-5) << p.type;
}

TEST(TextureFootprint, IsThePixelLaidOntoTheSurfaceAndLongerAtGrazingAngles) {
    MaterialScene scene(std::vector<ScenePass>{});
    miState& state = scene.renderer.state;
    miVector u{2.0f, 0.0f, 0.0f}, v{0.0f, 4.0f, 0.0f}; // along the surface, per unit of texture
    state.derivs[0] = u;
    state.derivs[1] = v;
    scene.vela().footprint.screen = {0.5f, 0.5f, 0.0f};
    for (const float slant : {0.0f, 0.6f, 1.0f}) { // head on, at an angle, edge on
        state.dir = {slant, 0.0f, -std::sqrt(1.0f - slant * slant)};
        state.dot_nd = state.dir.z;
        const float facing = std::max(-state.dir.z, 1.0f / 64),
                    width = 0.5f * std::max(-state.dir.z, VELA_EPS);
        const TextureFootprint pixel = surfaceFootprint(&state);
        EXPECT_NEAR(pixel.x.x, width / facing / 2.0f, 1e-6f) << slant;
        EXPECT_NEAR(pixel.y.y, width / 4.0f, 1e-6f) << slant;
        EXPECT_NEAR(pixel.x.y + pixel.y.x, 0.0f, 1e-6f) << slant;
    }
    scene.vela().filterEnabled = miFALSE;
    EXPECT_EQ(surfaceFootprint(&state).x.x, 0.0f);
}

} // namespace

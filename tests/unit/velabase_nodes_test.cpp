// SPDX-License-Identifier: Apache-2.0
/// The sky, the solid noise, the thin lens and what textures are filtered over, from their formulas.
#include "material_scene.h"
#include "orcaNoise.h"
#include "orcaVector.h"
#include "velaTextureSpace.h"

#include <algorithm>
#include <cmath>

extern "C" {
miBoolean velaSky(miColor*, miState*, void*);
miBoolean velaSolidNoise(miColor*, miState*, void*);
miBoolean velaThinLens(miColor*, miState*, void*);
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
struct NoiseRecord {
    miColor low, high;
    miScalar frequency;
    miInteger octaves;
    miScalar lacunarity, gain, contrast;
    miInteger space;
};
struct LensRecord {
    miScalar focusDistance, fStop, lensScale, apertureRadius;
    miInteger blades;
    miScalar bladeRotation, bladeCurvature, squeeze, edgeBrightness, catsEye, shiftX, shiftY, tiltX, tiltY;
};

TEST(Sky, FadesFromTheHorizonToBothEndsAndShowsTheSunToTheEye) {
    ScriptedRenderer renderer;
    ScriptedShader<SkyRecord> shader;
    SkyRecord& p = shader.parameters;
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
        state.shader = &shader.function;
        state.dir = c.direction;
        p.sunMirrored = c.mirrored;
        const miColor expected = p.zenith * c.zenith + p.ground * c.ground +
                                 p.horizon * (1.0f - c.zenith - c.ground) + p.glowColor * c.glow +
                                 p.sunColor * c.sun;
        miColor seen{};
        EXPECT_EQ(velaSky(&seen, &state, &p), miTRUE);
        EXPECT_NEAR(seen.r, expected.r, 1e-5f);
        EXPECT_NEAR(seen.g, expected.g, 1e-5f);
        EXPECT_NEAR(seen.b, expected.b, 1e-5f);
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
            ScriptedShader<NoiseRecord> shader{
                {{0, 0.5f, 0, 1}, {1, 1, 0, 1}, 3.0f, octaves, 2.5f, 0.5f, 0.8f, space}};
            renderer.state.shader = &shader.function;
            miColor color{};
            EXPECT_EQ(velaSolidNoise(&color, &renderer.state, &shader.parameters), miTRUE);
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

TEST(TextureFootprint, IsThePixelLaidOntoTheSurfaceAndLongerAtGrazingAngles) {
    MaterialScene scene(std::vector<ScenePass>{});
    miState& state = scene.renderer.state;
    miVector u{2.0f, 0.0f, 0.0f}, v{0.0f, 4.0f, 0.0f}; // along the surface, per unit of texture
    state.derivs[0] = &u;
    state.derivs[1] = &v;
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

TEST(ThinLens, IsAsWideAsItsStopOrItsRadiusAndFocusesOnItsPlane) {
    const struct {
        float fStop, apertureRadius;
        bool orthographic;
        float radius;
    } cases[] = {{2, 0, false, 1.5f}, {2, 0.6f, false, 0.6f}, {0, 0, false, 0}, {2, 0, true, 0}};
    for (const auto& c : cases) {
        ScriptedRenderer renderer;
        ScriptedShader<LensRecord> shader{
            {4.0f, c.fStop, 3.0f, c.apertureRadius, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0}};
        renderer.state.shader = &shader.function;
        renderer.state.org = {0, 0, 0};
        renderer.camera.focal = 2.0f;
        renderer.camera.orthographic = c.orthographic;
        renderer.traceEye = [&](miColor*, miState*, miVector* origin, miVector* direction) -> miBoolean {
            // The first sample is a third of the radius away from the axis.
            EXPECT_NEAR(std::hypot(origin->x, origin->y), c.radius / 3.0f, 1e-6f);
            const miVector met = *origin + *direction * (4.0f / -direction->z);
            EXPECT_NEAR(length(met - miVector{0, 0, -4}), 0.0f, 1e-5f);
            return miTRUE;
        };
        miColor color{};
        EXPECT_EQ(velaThinLens(&color, &renderer.state, &shader.parameters), miTRUE);
        EXPECT_EQ(renderer.callCount("mi_trace_eye"), 1);
    }
}

} // namespace

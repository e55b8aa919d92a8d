// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaHighlightComponents.h"
#include "orcaVector.h"

#include <cmath>
#include <vector>

namespace {

template <class P>
struct Entry {
    int (*version)();
    void (*init)(miState*, P*, miBoolean*);
    void (*exit)(miState*, P*);
    miBoolean (*shade)(SurfaceShaderReturnType*, miState*, P*);
    const char* file;
    int line;
};
#define ENTRY(name, line)                                                                                    \
    Entry<name##Parameters> {                                                                                \
        orcaVela##name##_version, orcaVela##name##_init, orcaVela##name##_exit, orcaVela##name,              \
            "orca" #name, line                                                                               \
    }

/// A record with the declared defaults that matter; a bright mirror without diffuse light.
template <class P>
P shiny() {
    P p{};
    static_cast<SurfaceParameters&>(p) = plainLambert();
    p.color = {0.0f, 0.0f, 0.0f, 1.0f};
    p.specularColor = {0.5f, 0.25f, 1.0f, 1.0f};
    p.reflectionLimit = 4;
    return p;
}

template <class P>
void expectLifeCycle(const Entry<P>& entry) {
    SCOPED_TRACE(entry.file);
    ScriptedRenderer renderer;
    ScriptedShader<P> shader;
    renderer.state.shader = &shader.function;
    miBoolean required = miFALSE;
    EXPECT_EQ(entry.version(), 1);
    entry.init(&renderer.state, nullptr, &required);
    EXPECT_EQ(required, miTRUE);
    EXPECT_EQ(renderer.memory.allocationsHeld(), 0);
    entry.init(&renderer.state, &shader.parameters, &required);
    ASSERT_EQ(renderer.memory.allocationsHeld(), 1);
    EXPECT_EQ(renderer.memory.held()[0].file, entry.file);
    EXPECT_EQ(renderer.memory.held()[0].line, entry.line);
    entry.exit(&renderer.state, nullptr);
    EXPECT_EQ(renderer.memory.allocationsHeld(), 1);
    entry.exit(&renderer.state, &shader.parameters);
    EXPECT_EQ(renderer.memory.allocationsHeld(), 0);
    EXPECT_EQ(renderer.memory.strayReleases(), 0);
}

TEST(StandardMaterialInstances, AreAllocatedUnderTheirNamesAndReleased) {
    expectLifeCycle(ENTRY(Lambert, 35));
    expectLifeCycle(ENTRY(Phong, 136));
    expectLifeCycle(ENTRY(PhongE, 292));
    expectLifeCycle(ENTRY(Blinn, 305));
    expectLifeCycle(ENTRY(Anisotropic, 601));
}

/// A Phong surface met at an angle, with the passes of a compositor.
struct ReflectionFixture : ::testing::Test {
    ReflectionFixture()
        : scene({pass(PASS_BEAUTY, 100), pass(PASS_SPECULAR, 0), pass(PASS_REFLECTION, 0),
                 pass(PASS_BEAUTY_NO_REFLECTION_REFRACTION, 0)}),
          p(shiny<PhongParameters>()) {
        p.cosinePower = 10.0f;
        p.reflectivity = 0.5f;
        scene.renderer.state.dir = normalized({0.6f, 0.0f, -0.8f});
        scene.renderer.state.dot_nd = -0.8f;
    }
    static ScenePass pass(PassTypeID type, int maxLevel) {
        ScenePass made{type, std::to_string(type), FB_SHADOWED};
        made.maxReflection = made.maxRefraction = maxLevel;
        return made;
    }

    SurfaceShaderReturnType shade() {
        ScriptedShader<PhongParameters> shader(p);
        miState& state = scene.renderer.state;
        state.shader = &shader.function;
        miBoolean required = miFALSE;
        orcaVelaPhong_init(&state, &shader.parameters, &required);
        SurfaceShaderReturnType result{};
        EXPECT_EQ(orcaVelaPhong(&result, &state, &shader.parameters), miTRUE);
        orcaVelaPhong_exit(&state, &shader.parameters);
        return result;
    }

    MaterialScene scene;
    PhongParameters p;
    const miColor weight{0.25f, 0.125f, 0.5f, 1.0f};
};

TEST_F(ReflectionFixture, MirrorsTheRayAndHandsUpWhatItMet) {
    const miColor met{0.4f, 0.8f, 0.2f, 1.0f};
    miVector direction{};
    miColor throughput{};
    scene.renderer.traceReflection = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        direction = *d;
        throughput = scene.vela().throughput;
        EXPECT_EQ(scene.slot(0, 1).childResult, BLACK); // nothing left from before
        scene.slot(0, 1).childResult = met * 0.5f;      // half of it is not in the pass
        ++scene.vela().surfacesShaded;
        *c = met;
        return miTRUE;
    };
    scene.slot(0, 1).childResult = WHITE;
    const miColor before = scene.vela().throughput;
    const auto result = shade();
    EXPECT_NEAR(direction.x, 0.6f, 1e-6f);
    EXPECT_NEAR(direction.z, 0.8f, 1e-6f);
    expectColor(throughput, before * weight);
    EXPECT_EQ(scene.vela().throughput, before);
    expectColor(result.color, weight * met);
    expectColor(scene.level(PASS_REFLECTION), weight * met);
    expectColor(scene.level(PASS_BEAUTY), weight * met * 0.5f);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), BLACK);
}

TEST_F(ReflectionFixture, AddsSurroundingsThatNoSurfaceHandsUpToTheBeauty) {
    const miColor sky{0.1f, 0.2f, 0.3f, 1.0f};
    const auto seeSky = [&](miColor* c, miState*, miVector*) -> miBoolean {
        *c = sky;
        return miTRUE;
    };
    scene.renderer.traceReflection = seeSky;
    scene.renderer.traceEnvironment = seeSky;
    p.reflectedColor = {0.0f, 0.5f, 0.0f, 1.0f};
    const miColor expected = weight * (sky + p.reflectedColor);
    struct {
        int limit, depth, level;
    } const cases[] = {{4, 4, 0}, {0, 4, 0}, {4, 0, 0}, {1, 4, 1}};
    for (const auto& c : cases) {
        for (int level = 0; level < 2; ++level) scene.slot(0, level).levelResult = BLACK;
        p.reflectionLimit = c.limit;
        scene.renderer.options.reflection_depth = c.depth;
        scene.renderer.state.reflection_level = c.level;
        expectColor(shade().color, expected);
        expectColor(scene.level(PASS_BEAUTY, c.level), expected);
    }
    EXPECT_EQ(scene.renderer.callCount("mi_trace_reflection"), 1); // the others were at a limit
    EXPECT_EQ(scene.renderer.callCount("mi_trace_environment"), 3);
}

TEST_F(ReflectionFixture, SpendsFewerBlurredRaysFurtherDown) {
    p.reflectionBlur = 0.1f;
    p.reflectionBlurSamples = 32;
    scene.renderer.traceReflection = [](miColor* c, miState*, miVector*) -> miBoolean {
        *c = WHITE;
        return miTRUE;
    };
    scene.renderer.options.reflection_depth = scene.renderer.options.trace_depth = 4;
    int before = 0;
    for (const int expected : {32, 8, 2, 1}) {
        expectColor(shade().color, weight); // a mean, however many there are
        EXPECT_EQ(scene.renderer.callCount("mi_trace_reflection") - before, expected);
        before = scene.renderer.callCount("mi_trace_reflection");
        ++scene.renderer.state.reflection_level;
    }
}

TEST_F(ReflectionFixture, KeepsAWideConeOnItsSideOfTheSurface) {
    p.reflectionBlur = 0.8f;
    p.reflectionBlurSamples = 64;
    scene.renderer.state.dir = normalized({1.0f, 0.0f, -0.1f});
    std::vector<miVector> directions;
    scene.renderer.traceReflection = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        directions.push_back(*d);
        *c = WHITE;
        return miTRUE;
    };
    expectColor(shade().color, weight);
    ASSERT_EQ(directions.size(), 64u);
    for (const miVector& d : directions) {
        EXPECT_GT(d.z, 0.001f);
        EXPECT_NEAR(length(d), 1.0f, 1e-5f);
    }
}

TEST_F(ReflectionFixture, TracesNothingForABlackReflectivity) {
    p.reflectivity = 0.0f;
    p.reflectedColor = WHITE;
    expectColor(shade().color, BLACK);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_reflection"), 0);
    EXPECT_EQ(scene.renderer.callCount("mi_trace_environment"), 0);
}

/// An interpolated normal may lean away from the viewer at a silhouette, and from the light.
TEST(SilhouetteHighlights, StayFiniteWhereTheNormalLeansAway) {
    ScriptedRenderer renderer;
    BlinnParameters p = shiny<BlinnParameters>();
    p.specularColor = WHITE;
    p.eccentricity = 0.3f;
    p.specularRollOff = 0.7f;
    ScriptedShader<BlinnParameters> shader(p);
    miState& state = renderer.state;
    state.shader = &shader.function;
    state.normal = {0.0f, 0.0f, 1.0f};
    for (const float view : {0.02f, 1e-4f, 0.0f, -1e-4f, -0.02f})
        for (const float light : {0.9f, 0.3f, 1e-3f, -1e-3f, -0.3f, -0.9f}) {
            state.dir = -normalized({1.0f, 0.0f, view});
            LightSample sample{};
            sample.direction = sample.specularDirection = {0.0f, std::sqrt(1.0f - light * light), light};
            sample.nDotL = light;
            const BlinnSpecularComponent<BlinnParameters> highlight(&state, &shader.parameters);
            const float strength = highlight(&state, sample).r;
            EXPECT_GE(strength, 0.0f);
            EXPECT_LT(strength, 4.0f) << view << ' ' << light;
            if (light < 0.0f) {
                EXPECT_EQ(strength, 0.0f) << view << ' ' << light;
            }
        }
}

} // namespace

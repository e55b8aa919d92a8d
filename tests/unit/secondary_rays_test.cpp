// SPDX-License-Identifier: Apache-2.0
/// Rays that a material reflects and refracts: where they go, and what they bring into picture and passes.
#include "material_scene.h"
#include "orcaVector.h"

#include <cmath>
#include <vector>

namespace {

/// A black glossy surface of index 1.5 met at an angle; one kind of ray carries `weight` away from it.
class SecondaryRays : public ::testing::TestWithParam<bool> {
protected:
    SecondaryRays()
        : scene({pass(PASS_BEAUTY, 100), pass(PASS_REFLECTION, 0), pass(PASS_REFRACTION, 0),
                 pass(PASS_BEAUTY_NO_REFLECTION_REFRACTION, 0)}),
          p(plain<PhongParameters>()) {
        p.color = {0.0f, 0.0f, 0.0f, 1.0f};
        p.specularColor = weight * 2.0f;
        p.reflectivity = refracts ? 0.0f : 0.5f;
        p.transparency = refracts ? weight : BLACK;
        p.refractionsOn = refracts;
        p.refractiveIndex = 1.5f;
        setLimit(4);
        look({0.6f, 0.0f, -0.8f});
    }
    static ScenePass pass(PassTypeID type, int maxLevel) {
        ScenePass made{type, std::to_string(type), FB_SHADOWED};
        made.maxReflection = made.maxRefraction = maxLevel;
        return made;
    }
    void setLimit(int limit) { p.reflectionLimit = p.refractionLimit = limit; }
    void setBlur(float halfAngle, int samples) {
        p.reflectionBlur = p.refractionBlur = halfAngle;
        p.reflectionBlurSamples = p.refractionBlurSamples = samples;
    }
    void look(const miVector& direction) {
        state.dir = normalized(direction);
        state.dot_nd = state.dir.z;
    }
    SurfaceShaderReturnType shade() { return MaterialInstance<PhongParameters>(scene, phong, p).shade(); }
    int traced() const {
        return scene.renderer.callCount(refracts ? "mi_trace_refraction" : "mi_trace_reflection");
    }
    /// Lets the rays meet `color`, and notes their directions.
    void meet(const miColor& color) {
        trace = [this, color](miColor* c, miState*, miVector* d) -> miBoolean {
            directions.push_back(*d);
            *c = color;
            return miTRUE;
        };
    }

    const bool refracts = GetParam();
    const miColor weight{0.25f, 0.125f, 0.5f, 1.0f};
    MaterialScene scene;
    miState& state = scene.renderer.state;
    std::function<miBoolean(miColor*, miState*, miVector*)>& trace =
        refracts ? scene.renderer.traceRefraction : scene.renderer.traceReflection;
    PhongParameters p;
    std::vector<miVector> directions;
};

TEST_P(SecondaryRays, HandUpWhatTheyMet) {
    const miColor met{0.4f, 0.8f, 0.2f, 1.0f};
    miVector direction{};
    miColor throughput{};
    trace = [&](miColor* c, miState*, miVector* d) -> miBoolean {
        direction = *d;
        throughput = scene.vela().throughput;
        EXPECT_EQ(scene.slot(0, 1).childResult, BLACK); // nothing left from before
        scene.slot(0, 1).childResult = met * 0.5f;      // half of it is not in the pass
        ++scene.vela().surfacesShaded;
        *c = met;
        return miTRUE;
    };
    scene.slot(0, 1).childResult = WHITE;
    scene.vela().throughput = {0.5f, 1.0f, 0.25f, 1.0f};
    const miColor before = scene.vela().throughput;
    const auto result = shade();
    EXPECT_NEAR(direction.x, refracts ? 0.6f / 1.5f : 0.6f, 1e-6f);
    EXPECT_NEAR(direction.z, refracts ? -std::sqrt(1.0f - 0.16f) : 0.8f, 1e-6f);
    expectColor(throughput, before * weight);
    EXPECT_EQ(scene.vela().throughput, before);
    expectColor(result.color, weight * met);
    expectColor(result.transparency, BLACK); // nothing left for the renderer
    expectColor(scene.vela().refractedTransparency, refracts ? weight : BLACK);
    expectColor(scene.level(refracts ? PASS_REFRACTION : PASS_REFLECTION), weight * met);
    expectColor(scene.level(PASS_BEAUTY), weight * met * 0.5f);
    expectColor(scene.level(PASS_BEAUTY_NO_REFLECTION_REFRACTION), BLACK);
}

TEST_P(SecondaryRays, AddSurroundingsThatNoSurfaceHandsUpToTheBeauty) {
    const miColor sky{0.1f, 0.2f, 0.3f, 1.0f};
    meet(sky);
    scene.renderer.traceEnvironment = trace;
    p.reflectedColor = {0.0f, refracts ? 0.0f : 0.5f, 0.0f, 1.0f};
    const unsigned asks = refracts ? FB_INCLUDE_REFRACTION : FB_INCLUDE_REFLECTION;
    struct {
        int limit, depth, level;
        bool suppressed; // writes of the level
        unsigned flags;
        bool inBeauty;
    } const cases[] = {{4, 4, 0, false, 0, true},
                       {0, 4, 0, false, 0, true},
                       {4, 0, 0, false, 0, true},
                       {1, 4, 1, false, 0, true},
                       {0, 4, 0, true, 0, false},
                       {0, 4, 0, true, asks, true},
                       {0, 4, 0, true, asks ^ FB_INCLUDE_REFLECTION ^ FB_INCLUDE_REFRACTION, false}};
    for (const auto& c : cases) {
        scene.clear();
        scene.slot(0, c.level).levelMode = c.suppressed ? TraceLevelSlot::LEVEL_WRITES_SUPPRESSED : 0;
        scene.record(0).flags = c.flags;
        setLimit(c.limit);
        scene.renderer.options.reflection_depth = scene.renderer.options.refraction_depth = c.depth;
        (refracts ? state.refraction_level : state.reflection_level) = c.level;
        expectColor(shade().color, weight * (sky + p.reflectedColor));
        expectColor(scene.level(PASS_BEAUTY, c.level),
                    c.inBeauty ? weight * (sky + p.reflectedColor) : BLACK);
    }
    EXPECT_EQ(traced(), 1); // the others were at a limit
    EXPECT_EQ(scene.renderer.callCount("mi_trace_environment"), 6);
}

TEST_P(SecondaryRays, FillTheirConeWithFewerRaysFurtherDown) {
    setBlur(0.1f, 32);
    setLimit(9);
    meet(WHITE);
    scene.renderer.options.trace_depth = 4;
    for (const std::size_t expected : {32u, 8u, 2u, 1u}) {
        directions.clear();
        expectColor(shade().color, weight); // a mean, however many there are
        EXPECT_EQ(directions.size(), expected);
        const miVector axis =
            refracts ? miVector{0.4f, 0.0f, -std::sqrt(1.0f - 0.16f)} : miVector{0.6f, 0.0f, 0.8f};
        float widest = 0.0f;
        for (const miVector& d : directions)
            widest = std::max(widest, std::acos(std::min(1.0f, dot(axis, d))));
        EXPECT_LE(widest, 0.1001f);
        EXPECT_GT(widest, expected == 32 ? 0.09f : 0.0f);
        ++(refracts ? state.refraction_level : state.reflection_level);
    }
}

TEST_P(SecondaryRays, KeepAWideConeOnTheirSideOfTheSurface) {
    setBlur(0.8f, 64);
    look({1.0f, 0.0f, -0.1f});
    meet(WHITE);
    expectColor(shade().color, weight);
    ASSERT_EQ(directions.size(), 64u);
    for (const miVector& d : directions) {
        EXPECT_GT(refracts ? -d.z : d.z, 0.001f);
        EXPECT_NEAR(length(d), 1.0f, 1e-5f);
    }
}

TEST_P(SecondaryRays, AreNotTracedForNothing) {
    p.reflectivity = 0.0f;
    p.transparency = BLACK;
    p.reflectedColor = WHITE;
    expectColor(shade().color, BLACK);
    EXPECT_EQ(traced() + scene.renderer.callCount("mi_trace_environment"), 0);
}
INSTANTIATE_TEST_SUITE_P(Kinds, SecondaryRays, ::testing::Bool(),
                         [](const auto& test) { return test.param ? "Refraction" : "Reflection"; });

class Refraction : public SecondaryRays {};
TEST_P(Refraction, TurnsTotalInternalReflectionIntoReflectionInside) {
    state.inv_normal = miTRUE;
    look({0.9f, 0.0f, -0.43589f});
    p.lightAbsorbance = 0.5f;
    miState hit = scene.renderer.derived(state, miRAY_REFLECT);
    hit.dist = 2.0;
    scene.renderer.traceReflection = [&](miColor* c, miState* from, miVector* d) -> miBoolean {
        directions.push_back(*d);
        from->child = &hit;
        *c = WHITE;
        return miTRUE;
    };
    expectColor(shade().refraction, weight * std::exp(-1.0f));
    ASSERT_EQ(directions.size(), 1u);
    EXPECT_NEAR(directions[0].z, 0.43589f, 1e-4f);
    EXPECT_EQ(traced(), 0);
}
INSTANTIATE_TEST_SUITE_P(FromInside, Refraction, ::testing::Values(true));

} // namespace

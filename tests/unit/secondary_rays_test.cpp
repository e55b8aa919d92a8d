// SPDX-License-Identifier: Apache-2.0
/// Rays that a material reflects and refracts: how many, where they go, and what becomes of surroundings.
#include "material_scene.h"
#include "orcaVector.h"

#include <cmath>
#include <vector>

namespace {

/// A black glossy surface of index 1.5 met at an angle, from which one kind of ray carries `weight`.
struct GlossyHit {
    explicit GlossyHit(bool refracted)
        : refracts(refracted),
          trace(refracts ? scene.renderer.traceRefraction : scene.renderer.traceReflection),
          level(refracts ? state.refraction_level : state.reflection_level) {
        p.color = {0.0f, 0.0f, 0.0f, 1.0f};
        p.specularColor = weight * 2.0f;
        p.reflectivity = refracts ? 0.0f : 0.5f;
        p.transparency = refracts ? weight : BLACK;
        p.refractionsOn = refracts;
        p.refractiveIndex = 1.5f;
        setLimit(9);
        look({0.6f, 0.0f, -0.8f});
        meet(WHITE);
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
    /// Lets the rays bring `color`, and notes their directions and throughput.
    void meet(const miColor& color) {
        trace = [this, color](miColor* c, miState*, miVector* d) -> miBoolean {
            directions.push_back(*d);
            throughput = scene.vela().throughput;
            *c = color;
            return miTRUE;
        };
    }
    SurfaceShaderReturnType shade() {
        directions.clear();
        return MaterialInstance<PhongParameters>(scene, phong, p).shade();
    }

    const bool refracts;
    const miColor weight{0.25f, 0.125f, 0.5f, 1.0f};
    MaterialScene scene{{{PASS_BEAUTY, "beauty"}}};
    miState& state = scene.renderer.state;
    std::function<miBoolean(miColor*, miState*, miVector*)>& trace;
    int& level; ///< of this kind of ray
    PhongParameters p = plain<PhongParameters>();
    std::vector<miVector> directions;
    miColor throughput{};
};

TEST(SecondaryRays, AddSurroundingsThatNoSurfaceHandsUpToTheBeauty) {
    const miColor sky{0.1f, 0.2f, 0.3f, 1.0f};
    struct {
        int limit, depth, level;
        bool suppressed, wanted; // writes of the level, and by its record all the same
    } const cases[] = {{4, 4, 0, false, false}, {0, 4, 0, false, false}, {4, 0, 0, false, false},
                       {1, 4, 1, false, false}, {0, 4, 0, true, false},  {0, 4, 0, true, true}};
    for (const bool refracts : {false, true}) {
        GlossyHit hit(refracts);
        hit.meet(sky);
        hit.scene.renderer.traceEnvironment = hit.trace;
        hit.p.reflectedColor = {0.0f, refracts ? 0.0f : 0.5f, 0.0f, 1.0f};
        const miColor expected = hit.weight * (sky + hit.p.reflectedColor);
        for (const auto& c : cases) {
            hit.scene.clear();
            if (c.suppressed) hit.scene.slot(0, c.level).levelMode = TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
            hit.scene.record(0).flags = refracts == c.wanted ? FB_INCLUDE_REFRACTION : FB_INCLUDE_REFLECTION;
            hit.setLimit(c.limit);
            hit.scene.renderer.options.reflection_depth = hit.scene.renderer.options.refraction_depth =
                c.depth;
            hit.level = c.level;
            expectColor(hit.shade().color, expected);
            expectColor(hit.scene.level(PASS_BEAUTY, c.level), c.suppressed && !c.wanted ? BLACK : expected);
        }
        EXPECT_EQ(hit.scene.renderer.callCount("mi_trace_environment"),
                  5); // all but the first were at a limit
    }
}

TEST(SecondaryRays, FillTheirConeOnTheirSideWithFewerRaysFurtherDown) {
    for (const bool refracts : {false, true}) {
        GlossyHit hit(refracts);
        hit.setBlur(0.1f, 32);
        hit.scene.renderer.options.trace_depth = 4;
        for (const std::size_t expected : {32u, 8u, 2u, 1u}) {
            expectColor(hit.shade().color, hit.weight); // a mean, however many there are
            EXPECT_EQ(hit.directions.size(), expected);
            expectColor(hit.throughput, hit.weight * (1.0f / static_cast<float>(expected)));
            EXPECT_EQ(hit.scene.vela().throughput, WHITE);
            const miVector axis =
                refracts ? miVector{0.4f, 0.0f, -std::sqrt(0.84f)} : miVector{0.6f, 0.0f, 0.8f};
            float widest = 0.0f;
            for (const miVector& d : hit.directions)
                widest = std::max(widest, std::acos(std::min(1.0f, dot(axis, d))));
            EXPECT_LE(widest, 0.1001f);
            EXPECT_GT(widest, expected == 32 ? 0.09f : 0.0f);
            ++hit.level;
        }
        hit.level = 0;
        hit.setBlur(0.8f, 64);
        hit.look({1.0f, 0.0f, -0.1f});
        expectColor(hit.shade().color, hit.weight);
        for (const miVector& d : hit.directions)
            EXPECT_TRUE((refracts ? -d.z : d.z) > 0.001f && std::abs(length(d) - 1.0f) < 1e-5f);
    }
}

TEST(SecondaryRays, StayInsideOnTotalInternalReflection) {
    GlossyHit hit(true);
    hit.state.inv_normal = miTRUE;
    hit.look({0.9f, 0.0f, -0.43589f});
    hit.p.lightAbsorbance = 0.5f;
    miState met = hit.scene.renderer.derived(hit.state, miRAY_REFLECT);
    met.dist = 2.0;
    hit.scene.renderer.traceReflection = [&](miColor* c, miState* from, miVector* d) -> miBoolean {
        EXPECT_NEAR(d->z, 0.43589f, 1e-4f);
        from->child = &met;
        *c = WHITE;
        return miTRUE;
    };
    expectColor(hit.shade().refraction, hit.weight * std::exp(-1.0f));
    EXPECT_EQ(hit.directions.size(), 0u);
}

} // namespace

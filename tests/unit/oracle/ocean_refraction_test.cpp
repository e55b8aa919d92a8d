// SPDX-License-Identifier: Apache-2.0
/// Refraction through water against a second formulation: where each ray goes,
/// which kind it is, and what it brings into the picture and the passes.
#include "material_scene.h"
#include "oracle/reference.h"
#include "orcaOceanRefraction.h"

#include <algorithm>

namespace {

using reference::Random;
using reference::Rgba;
using reference::V3;

struct Ray {
    char kind; ///< 'l' reflection, 'r' refraction, 'e' environment, 'd' its shader
    V3 direction;
    int refractionLevel;
};

TEST(OceanRefraction, MatchesTheReference) {
    Random random(14);
    int kinds[128]{}, pushed = 0, atLimits = 0;
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(i);
        MaterialScene scene({{PASS_BEAUTY, "a"}, {PASS_REFRACTION, "b", FB_INCLUDE_REFRACTION}});
        ScriptedRenderer& renderer = scene.renderer;
        miState& state = renderer.state;
        state.normal = random.direction();
        state.normal_geom = reference::unit(V3(state.normal) + V3(random.direction()) * 0.4).single();
        do state.dir = random.direction();
        while (mi_vector_dot(&state.dir, &state.normal) > -0.05f);
        const bool leaving = random.chance(0.4f);
        state.inv_normal = leaving;
        state.ior = 9.0f;
        state.ior_in = 1.25f;
        state.environment = 55;
        renderer.options.trace = random.chance(0.8f);
        OceanRefractionSettings settings{random.in(1.0f, 1.8f), random.color(0.2f, 1.0f), 0.0f, 4, 0.0f, 1};
        if (random.chance(0.6f)) settings.absorbance = random.in(0.1f, 2.0f);
        if (random.chance(0.4f))
            settings.blur = random.in(0.05f, 0.3f), settings.samples = 1 + random.below(5);
        if (random.chance(0.2f)) settings.limit = 0;
        const bool atLimit = settings.limit == 0;
        const miColor transparency = random.chance(0.1f) ? BLACK : random.color(0.1f, 1.0f);
        const bool on = random.chance(0.9f);

        miState met = state;
        met.instance = random.chance(0.8f) ? state.instance : miNULLTAG;
        met.dist = static_cast<double>(random.in(0.1f, 3.0f));
        state.child = &met;
        const miColor found = random.color(), handedUp = random.color();
        std::vector<Ray> rays;
        const auto note = [&](char kind, V3 direction, miColor* color) -> miBoolean {
            rays.push_back({kind, direction, state.refraction_level});
            for (int r : {0, 1}) {
                EXPECT_EQ(scene.slot(r, 1).childResult, BLACK);
                scene.slot(r, 1).childResult = handedUp;
            }
            ++scene.vela().surfacesShaded;
            *color = found;
            return miTRUE;
        };
        renderer.traceReflection = [&](miColor* c, miState*, miVector* d) { return note('l', *d, c); };
        renderer.traceRefraction = [&](miColor* c, miState* s, miVector* d) {
            EXPECT_EQ(s->ior, 1.25f);
            return note('r', *d, c);
        };
        renderer.traceEnvironment = [&](miColor* c, miState*, miVector* d) { return note('e', *d, c); };
        renderer.callShader = [&](miColor* c, int, miState* s, miTag tag, void*) {
            EXPECT_EQ(tag, 55u);
            EXPECT_EQ(s->type, miRAY_ENVIRONMENT);
            return note('d', s->dir, c);
        };
        for (int r : {0, 1}) scene.slot(r, 1).childResult = WHITE; // left from before
        const PassRecords passes(&state);
        TraceContext context{&scene.vela(), &passes, {}};
        const V3 n = state.normal, d = state.dir;
        const V3 mirror = d - n * (2 * dot(d, n));
        context.mirror = mirror.single();
        miColor rest = transparency;
        const miState before = state;
        const miColor light = oceanshader_compute_refraction(&rest, settings, on, &state, context);

        // The reference.
        const double eta = leaving ? double{settings.refractiveIndex} : 1 / double{settings.refractiveIndex};
        const double cosine = -dot(d, n), rootOf = 1 - eta * eta * (1 - cosine * cosine);
        const bool reflected = rootOf < 0;
        const double side = reflected ? -1 : 1;
        const V3 ideal = reflected ? mirror : d * eta + n * (eta * cosine - std::sqrt(rootOf));
        const bool traces = on && (transparency.r > 0 || transparency.g > 0 || transparency.b > 0);
        const std::size_t count = !traces ? 0
                                  : settings.blur > 0 && settings.samples > 1
                                      ? static_cast<std::size_t>(settings.samples)
                                      : 1;
        ASSERT_EQ(rays.size(), count);
        if (!traces) {
            EXPECT_EQ(light, BLACK);
            EXPECT_TRUE(reference::agrees(rest, rgbWith(Rgba(transparency), luminance(Rgba(transparency)))));
            continue;
        }
        EXPECT_EQ(rest, BLACK);
        char kind = reflected ? 'l' : 'r';
        if (!renderer.options.trace) kind = atLimit ? 'd' : 'e';
        atLimits += atLimit && renderer.options.trace && !reflected;
        for (std::size_t k = 0; k < rays.size(); ++k) {
            EXPECT_EQ(rays[k].kind, kind);
            EXPECT_EQ(rays[k].refractionLevel, kind == 'e' ? 1 : 0);
            const V3 went = rays[k].direction;
            EXPECT_NEAR(length(went), 1, 1e-5);
            const double geometric = dot(went, state.normal_geom);
            if (settings.blur > 0) {
                const double u = reference::radicalInverse(k + 1, 3); // the second number of the k-th sample
                if (geometric * side < -0.015) {
                    EXPECT_NEAR(dot(went, reference::unit(ideal)), 1 - u * settings.blur, 2e-5);
                }
                EXPECT_LT(geometric * side, 0.0);
            } else {
                V3 wanted = ideal;
                const double wrong = dot(wanted, state.normal_geom);
                if (wrong * side >= 0) {
                    wanted = reference::unit(wanted - V3(state.normal_geom) * (wrong + 0.01 * side));
                    ++pushed;
                }
                EXPECT_NEAR(length(went - wanted), 0, 2e-5);
            }
        }
        ++kinds[static_cast<int>(kind)];
        const bool inWater = (kind == 'l' ? leaving : kind == 'r' && !leaving) && met.instance != miNULLTAG;
        const double exponent = inWater ? met.dist * settings.absorbance : 0;
        const Rgba base = settings.absorptionColor;
        const Rgba weight = Rgba(transparency) * Rgba{std::pow(base.r, exponent), std::pow(base.g, exponent),
                                                      std::pow(base.b, exponent), 1};
        EXPECT_TRUE(reference::agrees(light, rgbWith(weight * Rgba(found), light.a))) << light;
        for (int r : {0, 1}) {
            const miColor held = scene.slot(r).levelResult;
            EXPECT_TRUE(reference::agrees(held, rgbWith(weight * Rgba(handedUp), held.a))) << held;
        }
        EXPECT_EQ(state.type, before.type);
        EXPECT_EQ(state.dir.x, before.dir.x);
        EXPECT_EQ(state.refraction_level, 0);
    }
    for (const char kind : {'l', 'r', 'e', 'd'}) EXPECT_GT(kinds[static_cast<int>(kind)], 5) << kind;
    EXPECT_GT(pushed, 3);
    EXPECT_GT(atLimits, 10);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
/// The shading engine against a second formulation, over random stacks of
/// transparent surfaces, levels and pass set-ups: picture, opacity, every
/// record's slot, and the thread's sums.
#include "material_scene.h"
#include "oracle/pipeline_oracle.h"
#include "orcaLevelSlots.h"
#include "orcaVelaShadingEngine.h"

#include <algorithm>
#include <functional>

namespace {

using reference::grey;
using reference::Random;
using reference::Rgba;
using reference::rgbWith;
using reference::V3;

/// One surface of the stack.
struct Layer {
    miColor color, matte, transparency;
    std::vector<miColor> written; ///< into each record
    std::vector<miColor> met;     ///< by a ray of it, for each record
    bool blackHole;
};

struct EngineCase {
    std::vector<ScenePass> passes;
    std::string mask; ///< of all objects
    int reflectionLevel, refractionLevel;
    float threshold;
    bool rasterizer, continueRay, compareSums;
    bool additive;                      ///< passes add up to the picture
    bool backgroundWrites;              ///< what is behind all layers hands pass values up
    std::vector<miColor> coveredBefore; ///< of each record, when the stack is met
    bool opacityHeld;                   ///< by the renderer, of the sample
    std::vector<Layer> layers;
    miColor background;
    miColor throughput;
    miColor refracted; ///< what the surfaces say they traced as refraction
};

struct EngineOutcome {
    Rgba picture, opacity;
    bool opacitySet = false;
    std::vector<Rgba> handedUp, covered;
    std::vector<Rgba> coveredBefore; ///< the last hit
    Rgba uncovered;                  ///< largest share, then
    std::vector<int> modes;
    std::vector<Rgba> throughputs; ///< in which each further layer is shaded
    std::size_t shaded = 0;
    int summed = 0; ///< layers in the thread's sums
};

int levelMode(const ScenePass& p, int reflection, int refraction, bool admitted) {
    const bool below = reflection < p.minReflection || refraction < p.minRefraction;
    const bool beyond = refraction > p.maxRefraction || reflection > p.maxReflection;
    int mode = below && !beyond ? 3 : beyond ? 1 : 0;
    if (!admitted) {
        const bool seen = reflection + refraction > 0 &&
                          (reflection == 0 || (p.flags & FB_SEEN_IN_REFLECTION)) &&
                          (refraction == 0 || (p.flags & FB_SEEN_IN_REFRACTION));
        if (!seen) mode |= 1;
    }
    return mode;
}

bool isPicture(PassTypeID type) {
    return type == PASS_BEAUTY || type == PASS_BEAUTY_NO_REFLECTION_REFRACTION;
}

EngineOutcome composite(const EngineCase& c) {
    EngineOutcome out;
    const std::size_t n = c.passes.size();
    if (c.opacityHeld && c.layers.front().transparency.r + c.layers.front().transparency.g > 0.02f) {
        out.opacitySet = true; // by the first layer, after those behind it
        out.opacity = grey(1) - Rgba(c.layers.front().transparency);
    }
    out.handedUp.resize(n);
    out.covered.assign(c.coveredBefore.begin(), c.coveredBefore.end());
    Rgba seen = grey(1), throughput = c.throughput;
    double alphaSeen = 1;
    const int level = c.reflectionLevel + c.refractionLevel;
    for (const Layer& layer : c.layers) {
        ++out.shaded;
        out.throughputs.push_back(throughput);
        out.modes.clear();
        out.coveredBefore = out.covered;
        const Rgba t = layer.transparency, matte = layer.blackHole ? Rgba{} : Rgba(layer.matte);
        for (std::size_t i = 0; i < n; ++i) {
            const ScenePass& pass = c.passes[i];
            const int mode =
                levelMode(pass, c.reflectionLevel, c.refractionLevel, reference::admits(c.mask, i));
            out.modes.push_back(mode);
            Rgba received, met;
            if (mode != 1 || pass.flags & FB_INCLUDE_REFRACTION) met = layer.met[i];
            if (!(mode & 1)) {
                received = layer.written[i];
                if (level == 0 && pass.type == PASS_OPACITY) received = received + (grey(1) - t);
                if (level == 0 && pass.type == PASS_MATTE) received = received + matte;
            }
            const bool weighted = pass.flags & FB_WEIGHT_BY_OPACITY;
            const Rgba uncovered = grey(1) - out.covered[i], opacity = grey(1) - t;
            Rgba value = (weighted ? opacity : grey(1)) * (received + met);
            if (c.additive) {
                // What a ray met is weighted already, and alpha is coverage but where writers set it.
                if (weighted) value = (opacity - Rgba(c.refracted)) * received + met;
                const double alpha = mode & 1 ? std::min(1.0, received.a + met.a) : luminance(opacity);
                if (pass.type != PASS_CUSTOM) value.a = alpha;
            }
            out.handedUp[i] = out.handedUp[i] + uncovered * value;
        }
        out.uncovered = {};
        for (const Rgba& covered : out.covered) out.uncovered = larger(out.uncovered, grey(1) - covered);
        const Rgba colour = rgbWith(layer.color, luminance(matte));
        out.picture = rgbWith(out.picture + seen * colour, out.picture.a + alphaSeen * colour.a);
        alphaSeen *= 1 - colour.a;
        if (layer.blackHole || luminance(t) <= 1 - c.threshold) break;
        out.summed += t.r > 0.004 || t.g > 0.004 || t.b > 0.004;
        if (c.rasterizer) {
            out.opacitySet = true;
            out.opacity = grey(1) - t;
            break;
        }
        if (t.r <= 0.004 && t.g <= 0.004 && t.b <= 0.004) break;
        for (std::size_t i = 0; i < n; ++i) {
            const Rgba passing = c.additive ? rgbWith(t, 1 - luminance(grey(1) - t)) : t;
            out.covered[i] = grey(1) - (grey(1) - out.covered[i]) * passing;
        }
        seen = seen * t;
        throughput = throughput * t;
        if (&layer != &c.layers.back()) continue;
        out.picture =
            rgbWith(out.picture + seen * Rgba(c.background), out.picture.a + alphaSeen * c.background.a);
        for (std::size_t i = 0; i < n; ++i)
            if (c.additive && !c.backgroundWrites && isPicture(c.passes[i].type) && !(out.modes[i] & 1))
                out.handedUp[i] = out.handedUp[i] + (grey(1) - out.covered[i]) * Rgba(c.background);
    }
    return out;
}

EngineCase randomCase(Random& random) {
    EngineCase c{};
    for (const PassTypeID type : {PASS_BEAUTY, PASS_BEAUTY, PASS_DIFFUSE, PASS_DIFFUSE, PASS_MATTE,
                                  PASS_OPACITY, PASS_CUSTOM, PASS_BEAUTY_NO_REFLECTION_REFRACTION}) {
        const unsigned allowed =
            FB_WEIGHT_BY_OPACITY | FB_SEEN_IN_REFLECTION | FB_SEEN_IN_REFRACTION | FB_INCLUDE_REFRACTION;
        ScenePass pass{type, std::to_string(c.passes.size()), static_cast<unsigned>(random.next()) & allowed};
        if (random.chance(0.4f)) {
            pass.minReflection = random.below(3);
            pass.maxReflection = random.below(3);
            pass.minRefraction = random.below(2);
            pass.maxRefraction = random.below(3);
        }
        c.passes.push_back(pass);
    }
    if (random.chance(0.6f))
        for (int i = 0; i < 2; ++i) c.mask += "0123456789abcdefABCDEF"[random.below(22)];
    if (random.chance(0.4f)) {
        c.reflectionLevel = random.below(3);
        c.refractionLevel = random.below(3);
    }
    c.threshold = random.chance(0.7f) ? 0.999f : random.in(0.3f, 0.9f);
    c.continueRay = random.chance(0.2f);
    c.rasterizer = random.chance(0.1f);
    c.opacityHeld = random.chance(0.3f);
    const int layers = 1 + random.below(4);
    for (int i = 0; i < layers; ++i) {
        Layer layer{random.color(), random.color(), random.color(0.02f, 0.98f), {}, {}, random.chance(0.1f)};
        if (random.chance(0.2f))
            layer.transparency = random.chance(0.5f) ? BLACK : random.color(0.0f, 0.003f);
        if (layer.blackHole) layer.matte = {-1000000.0f, -1000000.0f, -1000000.0f, 0.0f};
        for (std::size_t k = 0; k < c.passes.size(); ++k) {
            layer.written.push_back(random.color());
            layer.met.push_back(random.color());
        }
        c.layers.push_back(layer);
    }
    const bool partly = random.chance(0.2f);
    for (std::size_t k = 0; k < c.passes.size(); ++k)
        c.coveredBefore.push_back(partly ? random.color() : BLACK);
    c.background = random.color();
    c.backgroundWrites = random.chance(0.5f);
    c.throughput = random.color(0.2f, 1.0f);
    return c;
}

void compareWithReference(const EngineCase& c) {
    constexpr miTag surface = 77;
    const EngineOutcome expected = composite(c);
    const int level = c.reflectionLevel + c.refractionLevel;
    MaterialScene scene(c.passes);
    ScriptedRenderer& renderer = scene.renderer;
    ScriptedShader<ShadingEngineParameters> engine;
    engine.parameters.surfaceShader = surface;
    if (c.opacityHeld) renderer.opacity = WHITE * 0.5f;
    renderer.options.scanline = c.rasterizer ? miSCANLINE_RASTERIZER : 1;
    VelabaseState& vela = scene.vela();
    vela.transparencyThreshold = c.threshold;
    vela.continueRay = c.continueRay;
    vela.additivePasses = c.additive;
    vela.throughput = c.throughput;
    miState& state = renderer.state;
    state.shader = &engine.function;
    state.reflection_level = c.reflectionLevel;
    state.refraction_level = c.refractionLevel;
    if (level > 0) state.type = c.reflectionLevel ? miRAY_REFLECT : miRAY_REFRACT;
    if (!c.mask.empty()) state.instance = renderer.database.addMaskedInstance(c.mask);

    std::size_t hit = 0;
    renderer.callShader = [&](miColor* result, int type, miState* at, miTag tag, void*) -> miBoolean {
        EXPECT_EQ(type, miSHADER_MATERIAL);
        EXPECT_EQ(tag, surface);
        auto& answer = *reinterpret_cast<SurfaceShaderReturnType*>(result);
        EXPECT_EQ(answer.color.r + answer.opacity.a, 0.0f);
        const Layer& layer = c.layers.at(hit);
        answer.color = layer.color;
        answer.matteOpacity = layer.matte;
        answer.transparency = layer.transparency;
        vela.refractedTransparency = c.refracted;
        EXPECT_EQ(at->reflection_level + at->refraction_level, level);
        for (std::size_t i = 0; i < c.passes.size(); ++i) {
            TraceLevelSlot& slot = scene.slot(static_cast<int>(i), level);
            if (!(slot.levelMode & 1)) slot.levelResult = layer.written[i];
            scene.slot(static_cast<int>(i), level + 1).childResult = layer.met[i];
        }
        addTraced(at, vela, PassRecords(at), true, WHITE);
        if (hit < expected.throughputs.size())
            expectNear(vela.throughput, expected.throughputs[hit], "throughput");
        ++hit;
        return miTRUE;
    };
    const auto beyond = [&](miColor* result, miState* at) -> miBoolean {
        if (hit == c.layers.size()) {
            *result = c.background;
            vela.surfacesShaded += c.backgroundWrites; // and hands up nothing
            return miTRUE;
        }
        miState behind = c.continueRay ? *at : renderer.derived(*at, miRAY_TRANSPARENT);
        behind.parent = at;
        return orcaVelaShadingEngine(result, &behind, &engine.parameters);
    };
    (c.continueRay ? renderer.traceContinue : renderer.traceTransparent) = beyond;

    for (std::size_t i = 0; i < c.passes.size(); ++i)
        scene.slot(static_cast<int>(i), level).levelAux = c.coveredBefore[i];
    miColor picture{};
    EXPECT_TRUE(orcaVelaShadingEngine(&picture, &state, &engine.parameters));
    constexpr double tolerance = 1e-4;
    EXPECT_EQ(hit, expected.shaded);
    expectNear(picture, expected.picture, "picture", tolerance);
    expectNear(vela.uncovered, expected.uncovered, "uncovered", tolerance);
    EXPECT_EQ(renderer.opacity.has_value(), c.opacityHeld || expected.opacitySet);
    if (expected.opacitySet)
        expectNear(withAlpha(renderer.opacity.value(), 1), rgbWith(expected.opacity, 1), "opacity",
                   tolerance);
    for (std::size_t i = 0; i < c.passes.size(); ++i) {
        SCOPED_TRACE(i);
        const int record = static_cast<int>(i);
        const TraceLevelSlot& slot = scene.slot(record, level);
        expectNear(scene.record(record).lightColor, expected.coveredBefore[i], "coverage before", tolerance);
        EXPECT_TRUE(level == 0 || scene.slot(record).levelResult == BLACK);
        expectNear(slot.childResult, expected.handedUp[i], "handed up", tolerance);
        EXPECT_EQ(slot.levelMode, expected.modes[i]);
    }
    EXPECT_TRUE(!c.compareSums || vela.transparencyCount == expected.summed);
    // What the call puts back.
    EXPECT_EQ(vela.throughput, c.throughput);
    EXPECT_EQ(state.refraction_level, c.refractionLevel);
    EXPECT_FALSE(scene.record(0).flags & FB_IN_TRANSPARENCY);
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

struct Group {
    const char* name;
    int cases;
    void (*shape)(EngineCase&, Random&);
};
class ShadingEngine : public ::testing::TestWithParam<Group> {};

TEST_P(ShadingEngine, MatchesTheReference) {
    Random random(7);
    for (int i = 0; i < GetParam().cases && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        EngineCase c = randomCase(random);
        GetParam().shape(c, random);
        compareWithReference(c);
    }
}
INSTANTIATE_TEST_SUITE_P(
    Groups, ShadingEngine,
    ::testing::Values(Group{"Stacks", 1500,
                            [](EngineCase& c, Random&) {
                                c.rasterizer = false;
                                c.compareSums = true;
                            }},
                      Group{"Rasterizer", 200, [](EngineCase& c, Random&) { c.rasterizer = true; }},
                      Group{"RasterizerSums", 50,
                            [](EngineCase& c, Random&) { c.rasterizer = c.compareSums = true; }},
                      Group{"AdditivePasses", 500,
                            [](EngineCase& c, Random& random) {
                                c.additive = true;
                                c.refracted = random.color(0.0f, 0.3f);
                            }},
                      Group{"RefractedTransparency", 50,
                            [](EngineCase& c, Random& random) { c.refracted = random.color(0.1f, 0.9f); }}),
    [](const auto& test) { return std::string(test.param.name); });

// --- filter sizes

/// The sizes that a surface is shaded with on paths of little weight, and with filtering off.
void compareFilterSizes(bool orthographic) {
    Random random(8);
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        MaterialScene scene(std::vector<ScenePass>{{PASS_BEAUTY, "beauty"}});
        ScriptedRenderer& renderer = scene.renderer;
        ScriptedShader<ShadingEngineParameters> engine;
        engine.parameters.surfaceShader = 77;
        renderer.camera.orthographic = orthographic;
        miState& state = renderer.state;
        state.shader = &engine.function;
        state.point = (V3(random.direction()) * 3.0).single();
        state.normal = random.direction();
        state.dot_nd = random.chance(0.2f) ? 0.0f : mi_vector_dot(&state.normal, &state.dir);
        const float dot = state.dot_nd;
        auto& camera = renderer.database.element<miInstance>(state.camera_inst);
        const float w = random.chance(0.5f) ? 1.0f : random.chance(0.5f) ? 2.0f : 0.0f;
        const miVector eye = (V3(random.direction()) * 8.0).single();
        const miMatrix placement{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, eye.x, eye.y, eye.z, w};
        std::copy(std::begin(placement), std::end(placement), camera.tf.local_to_global);
        const bool enabled = random.chance(0.7f);
        scene.vela().filterEnabled = enabled;
        scene.vela().fixedFilterSize = random.in(0.1f, 2.0f);
        scene.vela().filterBase = random.in(0.001f, 0.1f);
        scene.vela().transparencyThreshold = 0.9f;
        const float weight = random.chance(0.7f) ? random.in(0.0f, 0.89f) : 1.0f;
        const float channels[] = {weight, 0.5f * weight, 0.0f};
        const int first = random.below(3);
        scene.vela().throughput = {channels[first], channels[(first + 1) % 3], channels[(first + 2) % 3],
                                   0.0f};
        const FilterFootprint before{{1, 2, 3}, {4, 5, 6}};
        scene.vela().footprint = before;
        const V3 origin = V3(eye) * (w == 2 ? 0.5 : 1.0);
        const bool light = weight < 0.9f;
        // Parallel projections see a pixel as wide at any distance, but for the estimate on paths of little
        // weight.
        miState reflected = renderer.derived(state, miRAY_REFLECT);
        reflected.point = (V3(random.direction()) * 3.0).single();
        reflected.dist = random.in(1.0f, 4.0f);
        miState& hit = random.chance(0.4f) ? reflected : state;
        const double path = &hit == &reflected && !light ? reflected.dist + length(V3(state.point) - origin)
                                                         : length(V3(hit.point) - origin);
        const double distance = orthographic && !light ? 1.0 : path;
        const double s = enabled ? (light ? 0.45 : 1.0) * scene.vela().filterBase * distance /
                                       std::max(1e-5, std::abs(double{dot}))
                                 : double{scene.vela().fixedFilterSize};
        renderer.callShader = [&](miColor*, int, miState*, miTag, void*) -> miBoolean {
            const FilterFootprint& f = scene.vela().footprint;
            const double texture = s * (enabled ? 1.5e-5 : 1.0), unused = enabled ? 0.0 : s;
            const auto near = [](double actual, double wanted) {
                return std::abs(actual - wanted) <= 1e-4 * wanted;
            };
            EXPECT_TRUE(near(f.screen.x, s) && near(f.screen.y, s) && near(f.screen.z, unused) &&
                        near(f.texture.x, texture) && near(f.texture.y, texture) && near(f.texture.z, unused))
                << f.screen.x << " instead of " << s;
            return miTRUE;
        };
        miColor result;
        orcaVelaShadingEngine(&result, &hit, &engine.parameters);
        EXPECT_EQ(scene.vela().footprint.screen.y, before.screen.y);
        EXPECT_EQ(scene.vela().footprint.texture.z, before.texture.z);
    }
}
TEST(ShadingEngineFilter, FitsTheHitOnPathsOfLittleWeightAndIsPutBack) {
    compareFilterSizes(false);
    compareFilterSizes(true);
}

} // namespace

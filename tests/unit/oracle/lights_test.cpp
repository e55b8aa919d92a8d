// SPDX-License-Identifier: Apache-2.0
/// The point and directional lights and the shadow shaders against a second
/// formulation, over random settings, places and occluders: colour, light data,
/// what each record receives, and every shadow ray's geometry.
#include "material_scene.h"
#include "oracle/pipeline_oracle.h"
#include "orcaVelaDirectionalLight.h"
#include "orcaVelaFastShadow.h"
#include "orcaVelaPointLight.h"
#include "orcaVelaShadow.h"

#include <algorithm>
#include <functional>

namespace {

using reference::grey;
using reference::Random;
using reference::Rgba;
using reference::rgbWith;
using reference::V3;

constexpr double epsilon = 1e-5;

/// Something coloured, soft and placed anywhere that shadow rays meet: its
/// transmission by the ray.
struct Occluder {
    V3 axis[3];
    double place[3];
    double sharpness;
    bool clear, opaque;

    [[nodiscard]] Rgba operator()(V3 origin, V3 direction) const {
        if (clear) return grey(1);
        if (opaque) return {0, 0, 0, 1};
        double t[3];
        for (int i = 0; i < 3; ++i)
            t[i] = std::clamp(0.5 + sharpness *
                                        (dot(axis[i], direction) + 0.2 * dot(axis[i], origin) - place[i]),
                              0.0, 1.0);
        return {t[0], t[1], t[2], 0.5};
    }
};

struct LightScenario {
    bool directional;
    PointLightParameters point; ///< also holds what both lights have
    DirectionalLightParameters directionalOwn;
    int rayType, parentType;
    miVector place, origin, normal, lightOrigin;
    double distance, parentDistance;
    miColor throughput;
    float cutoff, upper;
    int maxTraceDepth, level;
    bool skipShadows, shadowMaps, rayTracing, moving, fog;
    int area; ///< 0 none, 1 rectangle, 2 disc, 3 sphere
    miVector edgeU, edgeV, discNormal;
    Occluder occluder;
    std::string mask;
};

const std::vector<ScenePass> passes = {{PASS_BEAUTY, "a", FB_SHADOWED},
                                       {PASS_DIFFUSE, "b", FB_SHADOWED},
                                       {PASS_DIFFUSE, "c"},
                                       {PASS_DIFFUSE_NO_SHADOW, "d"},
                                       {PASS_SHADOW, "e"},
                                       {PASS_RAW_SHADOW, "f"}};

/// What a record's occluders let through where the picture's let `t` through.
Rgba recordTransmission(std::size_t record, Rgba t) {
    return record % 2 ? t : t * t;
}

struct LightOutcome {
    bool lit = true;
    Rgba result;
    bool lightRay = false;
    double shadowFraction = 0;
    Rgba unshadowed;
    std::vector<Rgba> delivered;
    bool volumeKept = false;
    std::size_t shadowRays = 0;
    V3 texture;
};

class LightReference {
public:
    explicit LightReference(const LightScenario& c) : c_(c), p_(c.point) {}

    LightOutcome run() {
        out_.lightRay = c_.rayType == miRAY_LIGHT;
        const V3 place = c_.place, origin = c_.origin;
        direction_ = unit(place - origin);
        if (c_.directional) {
            if (c_.directionalOwn.useLightPosition && dot(direction_, V3(c_.lightOrigin) - place) > 0) {
                out_.lit = false;
                return out_;
            }
        } else if (c_.area == 1 || c_.area == 2) {
            const V3 n = c_.area == 1 ? cross(V3(c_.edgeU), c_.edgeV) : V3(c_.discNormal);
            const double d = dot(direction_, n);
            if (out_.lightRay ? d <= 0 : d >= 0) {
                out_.lit = !out_.lightRay;
                out_.result = {0, 0, 0, 1};
                return out_;
            }
        }
        texture();
        double strength = p_.intensity;
        if (!c_.directional) strength *= c_.fog ? fogDensity() : decay();
        Rgba light = rgbWith(Rgba(p_.color) * strength, p_.color.a);
        out_.unshadowed = light;
        if (!out_.lightRay && !c_.directional) {
            out_.result = rgbWith(light, 1);
            return out_;
        }
        shadows(light, strength);
        return out_;
    }

private:
    void texture() {
        const V3 p = V3(c_.place) - V3(c_.lightOrigin);
        if (c_.directional) {
            out_.texture = p;
            return;
        }
        constexpr double pi = 3.1415927f;
        const double flat = std::hypot(p.x, p.z);
        out_.texture = {std::abs(p.z) < epsilon ? 0.5 : std::atan2(p.x, p.z) * 0.5 / pi + 0.5,
                        flat < epsilon ? 0.5 : std::atan(p.y / flat) / pi + 0.5, p.z};
    }
    [[nodiscard]] double decay() const {
        if (c_.distance <= 1 || p_.decayRate < 1 || p_.decayRate > 3) return 1;
        return std::pow(c_.distance, -p_.decayRate);
    }
    [[nodiscard]] double fogDensity() const {
        const double f = 0.5 * c_.parentDistance, R = p_.fogRadius;
        double x = 1;
        if (f <= R) {
            x = f / (R + R * R - f * f);
            switch (p_.fogType) {
            case 0: x = p_.decayRate == 3 ? x * x * x : p_.decayRate == 2 ? x * x : x; break;
            case 1:
                if (p_.decayRate > 1) x = 1 - std::pow(1 - x, 1.0 / p_.decayRate);
                x *= x;
                break;
            case 2:
                x = 1 - std::pow(std::max(0.0, 1 - x), 1.0 / (p_.decayRate + 2));
                x *= x;
                break;
            default: break;
            }
        }
        return x * p_.fogIntensity;
    }

    void shadows(Rgba light, double strength) {
        const double m = reference::largest(c_.throughput);
        const auto flags = [](std::size_t i) {
            return reference::flagsInRender(passes[i].type, passes[i].flags);
        };
        if (m > c_.cutoff && !c_.skipShadows && c_.parentType != miRAY_SHADOW) {
            const bool rayTraced = p_.useRayTraceShadows && c_.rayTracing && p_.shadowRays != 0 &&
                                   c_.level < std::min(p_.rayDepthLimit, c_.maxTraceDepth);
            if (p_.useDepthMapShadows && c_.shadowMaps) {
                const Rgba t = c_.occluder(c_.origin, direction_);
                out_.shadowRays = 1;
                const bool arrives = !blocked(t);
                const Rgba shadow = rgbWith(Rgba(p_.shadowColor) * strength, p_.shadowColor.a);
                // One transmission serves all records; a blocked ray has none.
                for (std::size_t i = 0; i < passes.size(); ++i)
                    out_.delivered.push_back(
                        reference::delivered(flags(i), admits(i), light, shadow, arrives ? t : Rgba{}));
                blend(light, shadow, t, arrives);
                return;
            }
            if (rayTraced) {
                out_.volumeKept = true;
                const Rgba shadow = p_.shadowColor;
                double extent = c_.directional ? c_.directionalOwn.lightAngle : p_.lightRadius;
                if (c_.moving) extent = 0;
                if (extent > 0) {
                    softShadow(light, shadow, extent, m);
                    return;
                }
                const Rgba t = c_.occluder(c_.origin, direction_);
                out_.shadowRays = 1;
                for (std::size_t i = 0; i < passes.size(); ++i)
                    out_.delivered.push_back(
                        reference::delivered(flags(i), admits(i), light, shadow, recordTransmission(i, t)));
                blend(light, shadow, t, !blocked(t));
                return;
            }
        }
        for (std::size_t i = 0; i < passes.size(); ++i)
            out_.delivered.push_back(admits(i) && !(flags(i) & FB_SHADOW_ONLY) ? rgbWith(light, 1)
                                                                               : Rgba{0, 0, 0, 1});
        out_.result = light;
    }

    void softShadow(Rgba light, Rgba shadow, double extent, double m) {
        const V3 place = c_.place, origin = c_.origin;
        int n = p_.shadowRays;
        if (m < c_.upper)
            n = static_cast<int>((n * (m - c_.cutoff) - (m - c_.upper)) / ((m - c_.cutoff) - (m - c_.upper)));
        const V3 axis = c_.directional ? direction_ * -1.0 : direction_;
        const V3 centre = c_.directional ? place + axis * (1 / std::tan(extent * 3.1415927 / 180)) : origin;
        const double radius = c_.directional ? 1 : std::max(extent, 0.0001);
        const double offset = dot(axis, centre);
        const V3 onAxis = axis.x != 0   ? V3{offset / axis.x, 0, 0}
                          : axis.y != 0 ? V3{0, offset / axis.y, 0}
                                        : V3{0, 0, offset / axis.z};
        const V3 e1 = unit(onAxis - centre), e2 = unit(cross(axis, e1));

        Rgba sum[2];
        std::vector<Rgba> gathered(passes.size());
        int divisor = n;
        bool two = false;
        for (int pass = 0; pass < 2; ++pass) {
            int partly = 0;
            for (int i = 1; i <= n; ++i) {
                const double r = radius * std::sqrt(radicalInverse(i, 2));
                const double angle = radicalInverse(i, 3) * 6.2831855;
                const V3 d = centre + e1 * (r * std::cos(angle)) + e2 * (r * std::sin(angle));
                const Rgba t = c_.occluder(c_.directional ? origin : d, unit(place - d));
                ++out_.shadowRays;
                for (std::size_t k = 0; k < passes.size(); ++k)
                    gathered[k] = gathered[k] + recordTransmission(k, t);
                if (blocked(t)) continue;
                sum[pass] = sum[pass] + t;
                partly += t.r != 1 || t.g != 1 || t.b != 1;
            }
            sum[pass] = sum[pass] * (1.0 / n);
            const bool mixed = partly != 0 && partly != n;
            if (pass == 0) {
                if (!mixed) {
                    divisor = n;
                    break;
                }
                n *= 4;
                two = true;
                continue;
            }
            if (mixed) n *= 4;
            divisor = n + n / 4;
        }
        const Rgba t = two ? sum[0] * 0.2 + sum[1] * 0.8 : sum[0];
        for (std::size_t i = 0; i < passes.size(); ++i) {
            const unsigned shadowOnly =
                reference::flagsInRender(passes[i].type, passes[i].flags) & FB_SHADOW_ONLY;
            // Whether a record wants shadows at all is not asked.
            out_.delivered.push_back(reference::delivered(FB_SHADOWED | shadowOnly, admits(i), light, shadow,
                                                          gathered[i] * (1.0 / divisor)));
        }
        blend(light, shadow, t, !blocked(t));
    }

    void blend(Rgba light, Rgba shadow, Rgba t, bool arrives) {
        if (!arrives) {
            out_.result = shadow;
            out_.shadowFraction = 1;
            return;
        }
        out_.result = light * t + (grey(1) - t) * shadow;
        out_.shadowFraction = 1 - (t.r + t.g + t.b) / 3;
    }
    static bool blocked(Rgba t) { return t.r < epsilon && t.g < epsilon && t.b < epsilon; }
    [[nodiscard]] bool admits(std::size_t i) const { return reference::admits(c_.mask, i); }
    static double radicalInverse(int n, int base) {
        double value = 0, digit = 1.0 / base;
        for (; n > 0; n /= base, digit /= base) value += digit * (n % base);
        return value;
    }

    const LightScenario& c_;
    const PointLightParameters& p_;
    V3 direction_;
    LightOutcome out_;
};

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
    c.directionalOwn = {random.chance(0.3f),  random.chance(0.6f) ? random.in(0.5f, 20.0f) : 0.0f,
                        p.useDepthMapShadows, p.emitDiffuse,
                        p.emitSpecular,       p.color,
                        p.intensity,          p.useRayTraceShadows,
                        p.shadowColor,        static_cast<miUint>(p.shadowRays),
                        p.rayDepthLimit};
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

std::string lightDifferences(const LightScenario& c) {
    const LightOutcome expected = LightReference(c).run();
    MaterialScene scene(passes);
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
    const miTag shape = renderer.database.add(miSCENE_LIGHT, miLight{});
    renderer.database.element<miInstance>(state.light_instance).item = shape;
    renderer.answer<int>(miQ_LIGHT_AREA, c.area, shape);
    renderer.answer(miQ_LIGHT_AREA_R_EDGE_U, c.edgeU, shape);
    renderer.answer(miQ_LIGHT_AREA_R_EDGE_V, c.edgeV, shape);
    renderer.answer(miQ_LIGHT_AREA_D_NORMAL, c.discNormal, shape);
    VelabaseState& vela = scene.vela();
    vela.throughput = c.throughput;
    vela.throughputCutoff = c.cutoff;
    vela.throughputUpper = c.upper;
    vela.maxTraceDepth = c.maxTraceDepth;
    const miUint flags = c.fog ? VELA_BIT_ENVLIGHTFOG : 0u;
    vela.flags = flags;
    vela.lightData = {1, 0, 0, 0.5f, {9, 9, 9, 9}, 3, 4, 0, c.skipShadows};

    std::ostringstream text;
    std::size_t rays = 0;
    renderer.traceShadow = [&](miColor* result, miState* ray) -> miBoolean {
        ++rays;
        if (!reference::agrees(ray->dot_nd, -dot(V3(ray->dir), c.normal), 1e-5) && expected.shadowRays > 1)
            text << "  cosine of a shadow ray\n";
        const Rgba t = c.occluder(ray->org, ray->dir);
        const auto single = [](Rgba v) {
            return miColor{static_cast<float>(v.r), static_cast<float>(v.g), static_cast<float>(v.b),
                           static_cast<float>(v.a)};
        };
        *result = *result * single(t);
        for (std::size_t i = 0; i < passes.size(); ++i)
            scene.record(static_cast<int>(i)).shadowTransmission *= single(recordTransmission(i, t));
        return t.r >= epsilon || t.g >= epsilon || t.b >= epsilon;
    };
    miVector seen{};
    miColor color = c.point.color;
    const auto evaluate = [&](miState* at, void*) -> void* {
        seen = at->tex_list[0];
        if (!(vela.flags & VELA_BIT_NOAF)) text << "  NOAF\n";
        return &color;
    };
    const miState before = state;
    miColor result{};
    miBoolean lit;
    if (c.directional) {
        ScriptedShader<DirectionalLightParameters> light(c.directionalOwn);
        light.connect(&light.parameters.color);
        renderer.evaluate = evaluate;
        state.shader = &light.function;
        lit = orcaVelaDirectionalLight(&result, &state, &light.parameters);
    } else {
        ScriptedShader<PointLightParameters> light(c.point);
        light.connect(&light.parameters.color);
        renderer.evaluate = evaluate;
        state.shader = &light.function;
        lit = orcaVelaPointLight(&result, &state, &light.parameters);
    }

    const auto compare = [&](const auto& what, const miColor& actual, const Rgba& wanted) {
        if (!reference::agrees(actual, wanted, 1e-3))
            text << "  " << what << ": " << actual << " instead of " << wanted << '\n';
    };
    if ((lit != 0) != expected.lit) text << "  lit\n";
    if (!expected.lit) return text.str();
    result.a = static_cast<float>(expected.result.a);
    compare("result", result, expected.result);
    if (rays != expected.shadowRays)
        text << "  " << rays << " rays instead of " << expected.shadowRays << '\n';
    for (std::size_t i = 0; i < expected.delivered.size(); ++i)
        compare("record " + std::to_string(i), scene.record(static_cast<int>(i)).lightColor,
                expected.delivered[i]);
    const LightData& data = vela.lightData;
    if (expected.delivered.empty()) {
        compare("fog", vela.lightFogColor, BLACK);
        compare("fog transmission", vela.lightFogTransmission, WHITE);
        compare("glow", vela.lightGlowColor, BLACK);
    } else {
        if (!reference::agrees(data.shadowFraction, expected.shadowFraction, 1e-3))
            text << "  shadow fraction\n";
        compare("unshadowed", data.unshadowedColor, expected.unshadowed);
        if (data.isAmbient || data.reserved0 || data.reserved1) text << "  words\n";
        if (data.emitDiffuse != c.point.emitDiffuse || data.emitSpecular != c.point.emitSpecular)
            text << "  emit\n";
        if (state.volume != (expected.volumeKept ? 5u : 0u)) text << "  volume\n";
    }
    if (expected.unshadowed.a != 0 && !(reference::agrees(seen.x, expected.texture.x, 1e-5) &&
                                        reference::agrees(seen.y, expected.texture.y, 1e-5) &&
                                        reference::agrees(seen.z, expected.texture.z, 1e-5)))
        text << "  texture\n";
    if (texture.x != 0.25f || vela.flags != flags) text << "  texture or flags are not restored\n";
    if (state.dir.x != before.dir.x || state.org.y != before.org.y || state.dot_nd != before.dot_nd)
        text << "  state is not restored\n";
    if (renderer.pinsHeld() != 0) text << "  pins\n";
    return text.str();
}

class LightShaders : public ::testing::TestWithParam<bool> {};

TEST_P(LightShaders, MatchTheReference) {
    Random random(2);
    for (int i = 0, failures = 0; i < 1500 && failures < 3; ++i) {
        const LightScenario c = randomLight(random, GetParam());
        const std::string text = lightDifferences(c);
        failures += !text.empty();
        EXPECT_EQ(text, "") << "case " << i;
    }
}
INSTANTIATE_TEST_SUITE_P(Kinds, LightShaders, ::testing::Values(false, true),
                         [](const auto& test) { return test.param ? "Directional" : "Point"; });

// --- shadow shaders

TEST(ShadowShaders, MatchTheReference) {
    Random random(3);
    for (int i = 0; i < 1500 && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const std::vector<ScenePass> records = {{PASS_BEAUTY, "a", FB_SHADOWED},
                                                {PASS_DIFFUSE, "b", FB_SHADOWED | FB_IGNORE_OBJECT_LINKS},
                                                {PASS_DIFFUSE, "c", FB_SHADOWED},
                                                {PASS_DIFFUSE, "d"},
                                                {PASS_SHADOW, "e"}};
        MaterialScene scene(records);
        ScriptedShader<VelaShadowParameters> shader;
        VelaShadowParameters& p = shader.parameters;
        if (random.chance(0.8f)) p.transparency = random.color(0.0f, 1.3f);
        p.attenuation = random.chance(0.5f) ? random.in(0.0f, 2.0f) : 0.0f;
        p.transparencyDepth = random.chance(0.5f) ? random.in(0.2f, 3.0f) : 0.0f;
        const bool fast = random.chance(0.2f), segments = random.chance(0.5f), alone = random.chance(0.7f);
        const bool noHit = !fast && random.chance(0.1f), noPasses = random.chance(0.05f);
        scene.renderer.options.shadow = segments ? miSHADOW_SEGMENTS : miSHADOW_SIMPLE;
        miState state = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
        state.shader = &shader.function;
        state.normal = random.direction();
        state.dir = random.direction();
        state.dot_nd = random.in(-1.0f, 1.0f);
        state.dist = noHit ? 0.0 : static_cast<double>(random.in(0.1f, 4.0f));
        state.volume = 3;
        state.refraction_volume = 9;
        const std::string mask =
            random.chance(0.5f) ? std::string(1, "0123456789abcdef"[random.below(16)]) + "1" : "";
        if (!mask.empty()) state.instance = scene.renderer.database.addMaskedInstance(mask);
        const miColor further = random.color();
        const FilterFootprint footprint{random.direction(), random.direction()};
        scene.vela().footprint = footprint;
        shader.connect(&p.transparency);
        scene.renderer.evaluate = [&](miState*, void* parameter) {
            for (const miVector& size : {scene.vela().footprint.screen, scene.vela().footprint.texture})
                EXPECT_TRUE(size.x == 1e-8f && size.y == 1e-8f && size.z == 0.0f);
            return parameter;
        };
        int walked = 0;
        scene.renderer.traceShadowSegment = [&](miColor* color, miState* at) -> miBoolean {
            ++walked;
            EXPECT_EQ(at->refraction_volume, noHit ? 0u : 3u);
            *color = *color * further;
            return miTRUE;
        };
        std::vector<Rgba> passing;
        std::vector<bool> reached;
        for (int r = 0; r < 5; ++r) {
            reached.push_back(random.chance(0.8f));
            if (reached.back()) scene.record(r).flags |= FB_LIGHT_CONTRIBUTES;
            scene.record(r).shadowTransmission = random.chance(0.2f) ? BLACK : random.color();
            passing.emplace_back(scene.record(r).shadowTransmission);
        }
        std::vector<miColor*> transmissions;
        for (int r = 0; r < 5; ++r) transmissions.push_back(&scene.record(r).shadowTransmission);
        if (noPasses) scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 2);
        miColor result = random.chance(0.1f) ? BLACK : random.color();

        // The reference.
        Rgba wanted = result;
        const bool walks = segments && alone && !fast;
        bool goesOn, walkedOn = false;
        const auto dark = [](Rgba c) { return c.r < epsilon && c.g < epsilon && c.b < epsilon; };
        if (noHit) {
            walkedOn = walks;
            if (walks) wanted = wanted * Rgba(further);
            goesOn = !dark(wanted);
        } else {
            Rgba c = fast ? Rgba{} : Rgba(p.transparency);
            if (!fast) {
                const double cosine = segments ? double{state.dot_nd} : dot(V3(state.normal), state.dir);
                c = rgbWith(c * std::max(0.0, 1 - (1 - std::abs(cosine)) * p.attenuation), c.a);
                if (segments && cosine < 0 && p.transparencyDepth != 0) {
                    const double t = std::min(1.0, state.dist / double{p.transparencyDepth}), alpha = c.a;
                    c = c * t + grey(1 - t);
                    c = {std::min(c.r, 1.0), std::min(c.g, 1.0), std::min(c.b, 1.0), alpha};
                }
            }
            const bool opaque = fast || dark(c);
            if (!opaque && walks) {
                walkedOn = true;
                wanted = wanted * Rgba(further);
            }
            wanted = opaque ? Rgba{} : wanted * rgbWith(c, 1);
            bool somePass = false;
            for (std::size_t r = 0; r < 5; ++r) {
                const unsigned flags = reference::flagsInRender(records[r].type, records[r].flags);
                if (noPasses || !(flags & FB_SHADOWED) || !reached[r]) continue;
                if (flags & FB_IGNORE_OBJECT_LINKS || reference::admits(mask, r)) passing[r] = passing[r] * c;
                somePass |= !dark(passing[r]);
            }
            goesOn = somePass || (!opaque && !dark(wanted));
        }

        const miBoolean answer = fast ? orcaVelaFastShadow(&result, &state)
                                      : orcaVelaShadow(&result, &state, &p, alone ? nullptr : &walked);
        EXPECT_EQ(answer != 0, goesOn);
        EXPECT_EQ(walked, walkedOn ? 1 : 0);
        EXPECT_TRUE(reference::agrees(result, wanted, 1e-4)) << result << " instead of " << wanted;
        for (std::size_t r = 0; r < 5; ++r)
            EXPECT_TRUE(reference::agrees(*transmissions[r], passing[r], 1e-4)) << r;
        EXPECT_EQ(scene.vela().footprint.screen.x, footprint.screen.x);
        EXPECT_EQ(scene.vela().footprint.texture.y, footprint.texture.y);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 1);
    }
}

} // namespace

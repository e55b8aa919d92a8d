// SPDX-License-Identifier: Apache-2.0
/// The standard materials against a second formulation of theirs, over random
/// surfaces, lights, rays and pass set-ups: the result, every pass record, and
/// what the call puts back.
#include "material_scene.h"
#include "oracle/pipeline_oracle.h"
#include "orcaLambert.h"
#include "orcaLightProtocol.h"
#include "orcaSpecular.h"

#include <algorithm>
#include <functional>

namespace {

using reference::LightCase;
using reference::Material;
using reference::Random;
using reference::RecordCase;
using reference::SurfaceCase;
using reference::SurfaceOutcome;
using reference::V3;

template <class P>
struct Shader {
    void (*init)(miState*, P*, miBoolean*);
    void (*exit)(miState*, P*);
    miBoolean (*shade)(SurfaceShaderReturnType*, miState*, P*);
};

template <class P>
P parametersOf(const SurfaceCase& c) {
    P p{};
    static_cast<SurfaceParameters&>(p) = c.surface;
    if constexpr (!std::is_same_v<P, LambertParameters>) {
        p.specularColor = c.specularColor;
        p.reflectivity = c.reflectivity;
        p.reflectionLimit = 9;
    }
    if constexpr (std::is_same_v<P, PhongParameters>) p.cosinePower = c.specular[0];
    if constexpr (std::is_same_v<P, PhongEParameters>) {
        p.roughness = c.specular[0];
        p.highlightSize = c.specular[1];
        p.whiteness = c.specular[2];
    }
    if constexpr (std::is_same_v<P, BlinnParameters>) {
        p.eccentricity = c.specular[0];
        p.specularRollOff = c.specular[1];
    }
    if constexpr (std::is_same_v<P, AnisotropicParameters>) {
        p.roughness = c.specular[0];
        p.spreadX = p.spreadY = 1.0f;
        p.fresnelIndex = c.specular[1];
    }
    return p;
}

std::vector<ScenePass> scenePasses(const SurfaceCase& c) {
    std::vector<ScenePass> passes;
    for (const RecordCase& r : c.records) {
        ScenePass pass{r.type, std::to_string(passes.size()), r.flags};
        pass.userWord4 = r.userWord;
        passes.push_back(pass);
    }
    return passes;
}

/// One case, set up in the scripted renderer.
class SurfaceScene : public MaterialScene {
public:
    explicit SurfaceScene(const SurfaceCase& inCase) : MaterialScene(scenePasses(inCase)), c(inCase) {
        miState& state = renderer.state;
        state.type = static_cast<miRay_type>(c.rayType);
        state.reflection_level = c.reflectionLevel;
        state.refraction_level = c.refractionLevel;
        state.normal = c.normal;
        state.normal_geom = c.geometricNormal;
        state.dir = c.rayDirection;
        state.dot_nd = mi_vector_dot(&state.normal, &state.dir);
        state.inv_normal = c.twoSided;
        const miMatrix toCamera{0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        const miMatrix toObject{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1};
        const miMatrix toWorld{0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1};
        mi_matrix_copy(renderer.internalToCamera, toCamera);
        mi_matrix_copy(renderer.internalToObject, toObject);
        mi_matrix_copy(renderer.internalToWorld, toWorld);
        renderer.answer<int>(miQ_FINALGATHER_STATE, c.renderMode == 7);
        renderer.options.finalgather_rays = 1;
        vela().renderMode = std::min(c.renderMode, 6);
        vela().throughput = c.throughput;
        vela().throughputCutoff = c.throughputCutoff;
        for (std::size_t i = 0; i < c.records.size(); ++i) {
            TraceLevelSlot& slot = this->slot(static_cast<int>(i), c.level());
            slot.levelResult = c.records[i].held;
            slot.levelMode = static_cast<unsigned char>(c.records[i].levelMode);
        }
        for (const LightCase& light : c.lights) addLightOf(light);
        renderer.averageRadiance = [this](miColor* e, miState*, miUint1 face, miIrrad_options*) -> miBoolean {
            EXPECT_EQ(face, 'f');
            *e = c.gathered;
            return miTRUE;
        };
        const auto trace = [this](const reference::RayCase& ray) {
            return [this, &ray](miColor* color, miState*, miVector*) -> miBoolean {
                for (std::size_t i = 0; i < c.records.size(); ++i)
                    this->slot(static_cast<int>(i), c.level() + 1).childResult = ray.handedUp[i];
                ++vela().surfacesShaded;
                *color = ray.color;
                return miTRUE;
            };
        };
        renderer.traceReflection = trace(c.reflected);
        renderer.traceRefraction = trace(c.refracted);
    }

    SurfaceShaderReturnType shade() {
        switch (c.material) {
        case Material::Lambert:
            return call<LambertParameters>({orcaVelaLambert_init, orcaVelaLambert_exit, orcaVelaLambert});
        case Material::Phong:
            return call<PhongParameters>({orcaVelaPhong_init, orcaVelaPhong_exit, orcaVelaPhong});
        case Material::PhongE:
            return call<PhongEParameters>({orcaVelaPhongE_init, orcaVelaPhongE_exit, orcaVelaPhongE});
        case Material::Blinn:
            return call<BlinnParameters>({orcaVelaBlinn_init, orcaVelaBlinn_exit, orcaVelaBlinn});
        case Material::Anisotropic: break;
        }
        return call<AnisotropicParameters>(
            {orcaVelaAnisotropic_init, orcaVelaAnisotropic_exit, orcaVelaAnisotropic});
    }

    miColor lightThroughput{};
    std::vector<miBoolean> sides; ///< that the lights' samples were asked for

private:
    template <class P>
    SurfaceShaderReturnType call(const Shader<P>& entry) {
        ScriptedShader<P> shader(parametersOf<P>(c));
        if (c.bumped) {
            shader.connect(&shader.parameters.bumpNormal);
            renderer.setComputed(&shader.parameters.bumpNormal, c.bump);
        }
        miState& state = renderer.state;
        state.shader = &shader.function;
        renderer.setComputed(&shader.parameters, c.surface.passWriteMode);
        miBoolean required = miFALSE;
        entry.init(&state, &shader.parameters, &required);
        SurfaceShaderReturnType result{};
        EXPECT_EQ(entry.shade(&result, &state, &shader.parameters), miTRUE);
        entry.exit(&state, &shader.parameters);
        return result;
    }

    void addLightOf(const LightCase& light) {
        ScriptedLight scripted;
        scripted.instance = light.mask.empty() ? renderer.database.addInstance()
                                               : renderer.database.addMaskedInstance(light.mask);
        scripted.directions.clear();
        for (const auto& sample : light.samples) scripted.directions.push_back(sample.direction);
        scripted.shader = [this, &light, taken = std::size_t{0}](miColor* result, miState* state) mutable {
            lightThroughput = vela().throughput;
            LightData& data = vela().lightData;
            sides.push_back(data.backSide);
            const float sign = data.backSide ? -1.0f : 1.0f;
            EXPECT_EQ(state->normal_geom.x, sign * c.geometricNormal.x);
            const auto& sample = light.samples[taken++ % light.samples.size()];
            *result = light.color;
            if (light.foreign) return miTRUE;
            setupLightContributions(count(), records(), state);
            data.isAmbient = light.ambient;
            data.emitDiffuse = light.emitDiffuse;
            data.emitSpecular = light.emitSpecular;
            data.unshadowedColor = light.color;
            if (data.skipShadows) {
                setLightIrradiance(count(), records(), &light.color);
                return miTRUE;
            }
            renderer.traceShadow = [&](miColor* through, miState*) -> miBoolean {
                *through = sample.transmission;
                for (unsigned i = 0; i < count(); ++i)
                    records()[i].shadowTransmission *= sample.recordTransmission[i];
                return miTRUE;
            };
            miColor t;
            EXPECT_TRUE(traceShadow(count(), records(), &t, &light.color, &light.shadowColor, false, state));
            data.shadowFraction = 1.0f - (t.r + t.g + t.b) / 3.0f;
            *result = {(1 - t.r) * light.shadowColor.r + t.r * light.color.r,
                       (1 - t.g) * light.shadowColor.g + t.g * light.color.g,
                       (1 - t.b) * light.shadowColor.b + t.b * light.color.b, light.color.a};
            return miTRUE;
        };
        renderer.lights.push_back(scripted);
    }

    const SurfaceCase& c;
};

/// What differs from the reference, in words; empty when nothing does.
std::string differences(const SurfaceCase& c) {
    const SurfaceOutcome expected = reference::shade(c);
    SurfaceScene scene(c);
    const SurfaceShaderReturnType result = scene.shade();
    std::ostringstream text;
    const auto compare = [&text](const auto& what, const miColor& actual, const reference::Rgba& wanted) {
        if (!reference::agrees(actual, wanted))
            text << "  " << what << ": " << actual << " instead of " << wanted << '\n';
    };
    const auto opaque = [](miColor color) {
        color.a = 1.0f;
        return color;
    };
    compare("colour", opaque(result.color), rgbWith(expected.color, 1));
    compare("glow", opaque(result.glowColor), rgbWith(expected.glow, 1));
    compare("matte", opaque(result.matteOpacity), rgbWith(expected.matte, 1));
    compare("transparency", opaque(result.transparency), rgbWith(expected.transparency, 1));
    const auto compareField = [&](const char* what, miColor SurfaceShaderReturnType::*field,
                                  reference::Rgba SurfaceOutcome::*wanted) {
        compare(what, opaque(result.*field), rgbWith(expected.*wanted, 1));
    };
#define FIELD(name) compareField(#name, &SurfaceShaderReturnType::name, &SurfaceOutcome::name)
    FIELD(opacity);
    FIELD(ambient);
    FIELD(incandescence);
    FIELD(irradiance);
    FIELD(diffuse);
    FIELD(diffuseUnshadowed);
    FIELD(specular);
    FIELD(specularUnshadowed);
    FIELD(reflection);
    FIELD(refraction);
#undef FIELD
    for (std::size_t i = 0; i < c.records.size(); ++i)
        compare("type " + std::to_string(c.records[i].type),
                scene.slot(static_cast<int>(i), c.level()).levelResult, expected.held[i]);
    if (!scene.sides.empty())
        compare("throughput at the lights", scene.lightThroughput, expected.lightThroughput);

    const miState& state = scene.renderer.state;
    if (!(V3(state.normal).x == V3(c.normal).x && V3(state.normal).z == V3(c.normal).z)) text << "  normal\n";
    if (state.normal_geom.z != c.geometricNormal.z) text << "  geometric normal\n";
    if (state.dot_nd != mi_vector_dot(&c.normal, &c.rayDirection)) text << "  dot_nd\n";
    if (!(scene.vela().throughput == c.throughput)) text << "  throughput after the call\n";
    if (c.rayType != miRAY_SHADOW && scene.vela().refractionsOn != c.surface.refractionsOn)
        text << "  refractionsOn after the call\n";
    if (scene.renderer.pinsHeld() != 0) text << "  pins held\n";
    std::size_t asked = 0;
    if (c.rayType != miRAY_SHADOW)
        for (const LightCase& light : c.lights)
            for (int side = 0; side <= (c.twoSided ? 1 : 0); ++side)
                for (std::size_t i = 0; i < light.samples.size(); ++i, ++asked)
                    if (asked >= scene.sides.size() || scene.sides[asked] != side) text << "  back side\n";
    if (asked != scene.sides.size()) text << "  light samples\n";
    return text.str();
}

// --- cases

std::vector<RecordCase> randomRecords(Random& random) {
    std::vector<RecordCase> records;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        const bool several =
            type == PASS_BEAUTY || type == PASS_DIFFUSE || type == PASS_SHADOW || type == PASS_NORMAL;
        for (unsigned copy = 0; copy < (several ? 3u : 1u); ++copy) {
            const unsigned allowed = FB_SHADOWED | FB_INCLUDE_REFLECTION | FB_INCLUDE_REFRACTION;
            records.push_back({static_cast<PassTypeID>(type), static_cast<unsigned>(random.next()) & allowed,
                               copy, random.chance(0.8f) ? 0 : random.below(4), random.color()});
        }
    }
    return records;
}

LightCase randomLight(Random& random, const V3& normal, std::size_t records) {
    LightCase light{};
    light.foreign = random.chance(0.15f);
    light.ambient = random.chance(0.15f);
    light.emitDiffuse = !light.ambient && random.chance(0.85f);
    light.emitSpecular = !light.ambient && random.chance(0.85f);
    light.color = random.color(0.0f, 2.0f);
    light.shadowColor = random.color(0.0f, 0.3f);
    if (random.chance(0.4f))
        for (std::size_t i = 0; i <= records / 4; ++i) light.mask += "0123456789abcdef"[random.below(16)];
    const int samples = random.chance(0.1f) ? 0 : random.chance(0.5f) ? 1 : 1 + random.below(4);
    for (int i = 0; i < samples; ++i) {
        reference::LightSampleCase sample{random.direction(), random.color(0.05f, 1.0f), {}};
        if (dot(normal, sample.direction) < 0 && random.chance(0.7f))
            sample.direction = (V3(sample.direction) - normal * (2 * dot(normal, sample.direction))).single();
        if (normal.z == 1 && random.chance(0.1f)) sample.direction = {0.6f, 0.8f, 0.0f}; // at the terminator
        for (std::size_t r = 0; r < records; ++r) sample.recordTransmission.push_back(random.color());
        light.samples.push_back(sample);
    }
    return light;
}

SurfaceCase randomSurface(Random& random) {
    SurfaceCase c{};
    c.material = static_cast<Material>(random.below(5));
    SurfaceParameters& s = c.surface;
    constexpr int writeModes[] = {1, 1, 1, 1, 3, 2, 4, -1, 0};
    s.passWriteMode = writeModes[random.below(9)];
    s.passWriteFlags = random.below(4);
    s.passWriteScale = random.in(0.2f, 1.5f);
    s.color = random.color();
    if (random.chance(0.5f)) s.transparency = random.color();
    if (random.chance(0.1f)) s.transparency.g = 1.0f;
    s.writePasses = random.chance(0.85f);
    s.compositeScalarA = random.in(0.0f, 0.5f);
    s.throughputBoost = random.in(0.5f, 2.0f);
    s.refractiveIndex = 1.0f;
    s.refractionsOn = random.chance(0.4f);
    s.diffuse = random.in(0.1f, 1.0f);
    if (random.chance(0.5f)) s.incandescence = random.color();
    s.translucenceForward = random.chance(0.5f) ? random.in(0.0f, 0.9f) : 0.0f;
    s.translucenceWrap = random.chance(0.5f) ? random.in(0.0f, 0.1f) : 0.0f;
    s.shadowTransmitAll = random.chance(0.3f);
    s.refractionLimit = 9;
    s.irradianceColor = random.color();
    s.refractionBlurSamples = 1;
    c.specularColor = random.color();
    const float size = random.chance(0.1f) ? 0.0f : random.in(0.3f, 1.0f);
    const float white = random.chance(0.3f) ? random.in(0.02f, 0.099f) : 1.0f;
    if (c.material == Material::Phong) c.specular[0] = random.in(1.0f, 30.0f);
    else if (c.material == Material::PhongE)
        std::copy_n(std::array{random.in(0.2f, 3.0f), size, white}.data(), 3, c.specular);
    else if (c.material == Material::Blinn)
        c.specular[0] = random.chance(0.1f) ? 1.0f : random.in(0.1f, 0.9f),
        c.specular[1] = random.in(0.0f, 1.0f);
    else c.specular[0] = random.in(0.2f, 0.9f), c.specular[1] = random.in(1.1f, 3.0f);
    if (c.material != Material::Anisotropic && random.chance(0.5f)) c.reflectivity = random.in(0.1f, 1.0f);
    c.renderMode = random.chance(0.6f) ? 0 : random.below(8);
    constexpr int rays[] = {miRAY_EYE, miRAY_EYE, miRAY_EYE, miRAY_REFLECT, miRAY_REFRACT};
    c.rayType = rays[random.below(5)];
    c.reflectionLevel = c.rayType == miRAY_EYE ? 0 : random.below(3);
    c.refractionLevel = c.rayType == miRAY_REFRACT ? 1 : 0;
    if (random.chance(0.05f)) c.rayType = random.chance(0.5f) ? miRAY_ENVIRONMENT : miRAY_SHADOW;
    const V3 normal = random.chance(0.5f) ? V3{0, 0, 1} : V3(random.direction());
    c.normal = normal.single();
    c.geometricNormal = reference::unit(normal + V3(random.direction()) * 0.2).single();
    do c.rayDirection = random.direction();
    while (dot(normal, c.rayDirection) > -0.3);
    if (random.chance(0.15f)) {
        c.bumped = true; // some below the surface
        do c.bump = reference::unit(normal + V3(random.direction()) * 2.0).single();
        while (dot(V3(c.bump), c.rayDirection) > -0.2);
    }
    c.throughput = random.color();
    c.throughputCutoff = random.chance(0.2f) ? random.in(0.0f, 0.3f) : -1.0f;
    c.gathered = random.color();
    c.records = randomRecords(random);
    for (reference::RayCase* ray : {&c.reflected, &c.refracted}) {
        ray->color = random.color();
        for (std::size_t i = 0; i < c.records.size(); ++i) ray->handedUp.push_back(random.color());
    }
    const int lights = random.below(4);
    const V3 shading = c.bumped ? V3(c.bump) : normal;
    for (int i = 0; i < lights; ++i) c.lights.push_back(randomLight(random, shading, c.records.size()));
    return c;
}

/// Turns a sample to the side where the material sees it in front, or behind.
void turnLights(SurfaceCase& c, double side) {
    c.bumped = false;
    for (LightCase& light : c.lights)
        for (auto& sample : light.samples) {
            const double nDotL = dot(V3(c.normal), sample.direction);
            if (nDotL * side < 0)
                sample.direction = (V3(sample.direction) - V3(c.normal) * (2 * nDotL)).single();
        }
}

/// Lets a fault of this kind show: adds up, on the first level, in all passes.
void openPasses(SurfaceCase& c) {
    c.surface.passWriteMode = 1;
    c.surface.writePasses = miTRUE;
    c.rayType = miRAY_EYE;
    for (RecordCase& r : c.records) r.levelMode = 0;
}

struct Group {
    const char* name;
    int cases;
    std::function<void(SurfaceCase&, Random&)> shape;
};

class StandardMaterials : public ::testing::TestWithParam<Group> {};

TEST_P(StandardMaterials, MatchTheReference) {
    const Group& group = GetParam();
    Random random(1);
    int different = 0;
    for (int i = 0; i < group.cases; ++i) {
        SurfaceCase c = randomSurface(random);
        group.shape(c, random);
        const std::string text = differences(c);
        if (text.empty()) continue;
        ++different;
        ADD_FAILURE() << "case " << i << ", material " << static_cast<int>(c.material) << ", mode "
                      << c.renderMode << ", ray " << c.rayType << ", write mode " << c.surface.passWriteMode
                      << '\n'
                      << text;
        if (different == 3) break;
    }
}

INSTANTIATE_TEST_SUITE_P(Groups, StandardMaterials,
                         ::testing::Values(Group{"OneSided", 1200, [](SurfaceCase&, Random&) {}},
                                           Group{"AmbientTerm", 150,
                                                 [](SurfaceCase& c, Random& random) {
                                                     c.surface.transparency = {0, 0, 0, 1};
                                                     c.surface.ambientColor = random.color();
                                                 }},
                                           Group{"Translucent", 300,
                                                 [](SurfaceCase& c, Random& random) {
                                                     turnLights(c, 1.0);
                                                     c.surface.translucence = random.in(0.1f, 1.0f);
                                                     if (c.renderMode == 1 || c.renderMode == 4)
                                                         c.renderMode = 0;
                                                 }},
                                           Group{"TwoSided", 200,
                                                 [](SurfaceCase& c, Random&) {
                                                     c.twoSided = true;
                                                     c.material = Material::Lambert;
                                                 }},
                                           Group{"AmbientTermUnweighted", 60,
                                                 [](SurfaceCase& c, Random& random) {
                                                     openPasses(c);
                                                     c.surface.ambientColor = random.color();
                                                     c.surface.transparency = random.color(0.1f, 0.9f);
                                                 }},
                                           Group{"WhollyTransparent", 60,
                                                 [](SurfaceCase& c, Random&) {
                                                     openPasses(c);
                                                     c.surface.transparency = {1, 1, 1, 1};
                                                 }},
                                           Group{"TranslucenceFromBehind", 60,
                                                 [](SurfaceCase& c, Random& random) {
                                                     openPasses(c);
                                                     turnLights(c, -1.0);
                                                     c.renderMode = 0;
                                                     c.surface.translucence = random.in(0.1f, 1.0f);
                                                     c.surface.translucenceWrap = 0.1f;
                                                 }},
                                           Group{"TranslucenceUnshadowed", 60,
                                                 [](SurfaceCase& c, Random& random) {
                                                     turnLights(c, 1.0);
                                                     c.renderMode = random.chance(0.5f) ? 1 : 4;
                                                     c.surface.translucence = random.in(0.1f, 1.0f);
                                                 }},
                                           Group{"TwoSidedHighlight", 60,
                                                 [](SurfaceCase& c, Random& random) {
                                                     c.twoSided = true;
                                                     c.material = random.chance(0.5f) ? Material::Phong
                                                                                      : Material::PhongE;
                                                 }}),
                         [](const auto& test) { return std::string(test.param.name); });

/// The exported models by themselves, where they are called with more than a
/// material would.
TEST(LightModels, MatchTheReference) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    Random random(9);
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        constexpr int rays[] = {miRAY_EYE, miRAY_REFLECT, miRAY_REFRACT, miRAY_FINALGATHER};
        state.type = static_cast<miRay_type>(rays[random.below(4)]);
        state.dir = random.direction();
        const reference::View view{state.type, state.dir};
        const miVector mirror = random.direction(), normal = random.direction();
        const V3 near = reference::unit(V3(mirror) + V3(random.direction()) * random.in(0.0f, 1.5f));
        const miVector light = near.single();
        const miVector longer = (near * random.in(0.2f, 4.0f)).single();
        const float nDotL = random.chance(0.1f) ? 0.0f : random.in(-1.0f, 1.0f);
        const float exponent = random.in(0.1f, 60.0f);
        EXPECT_NEAR(compute_phong_specular(&mirror, &longer, &state, exponent, nDotL),
                    reference::phong(mirror, longer, view, exponent, nDotL), 1e-5); // below its tail
        const float whiteness = random.in(0.0f, 0.2f), size = random.in(0.01f, 1.0f);
        const float roughness = random.chance(0.1f) ? 0.0f : random.in(0.0f, 4.0f);
        const double strength = reference::phongE(mirror, whiteness, roughness, size, nDotL, longer, view);
        EXPECT_NEAR(compute_phongE_specular(&mirror, whiteness, roughness, size, nDotL, &longer, &state),
                    strength, 1e-3 * (1.0 + strength));
        const float a = random.in(0.0f, 1.0f), b = random.in(0.05f, 1.0f), rollOff = random.in(0.0f, 1.0f);
        const float eccentricity = random.chance(0.1f) ? 1.0f : random.in(0.2f, 0.95f);
        const double facets = reference::blinn(light, normal, view, a, b, eccentricity, rollOff, nDotL);
        EXPECT_NEAR(compute_blinn_specular(&light, &normal, &state, a, b, eccentricity, rollOff, nDotL),
                    facets, 1e-3 * (1.0 + facets));
        const float amount = random.in(0.0f, 1.0f),
                    wrap = random.chance(0.3f) ? 0.0f : random.in(0.0f, 0.15f);
        const float forward = random.chance(0.3f) ? 0.0f : random.in(0.0f, 1.0f);
        EXPECT_NEAR(compute_lambert_translucence(&state, &light, nullptr, nDotL, amount, forward, wrap),
                    reference::translucence(state.dir, light, nDotL, amount, forward, wrap), 1e-4);
    }
}

} // namespace

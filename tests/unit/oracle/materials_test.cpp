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
        reference::turnSpaces(renderer);
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
        case Material::Lambert: return call(lambert);
        case Material::Phong: return call(phong);
        case Material::PhongE: return call(phongE);
        case Material::Blinn: return call(blinn);
        case Material::Anisotropic: break;
        }
        return call(anisotropic);
    }

    miColor lightThroughput{};
    std::vector<miBoolean> sides; ///< that the lights' samples were asked for

private:
    template <class P>
    SurfaceShaderReturnType call(const MaterialEntry<P>& entry) {
        MaterialInstance<P> material(*this, entry, parametersOf<P>(c));
        if (c.bumped) {
            material.shader.connect(&material.shader.parameters.bumpNormal);
            material.shader.parameters.bumpNormal = c.bump;
        }
        return material.shade();
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
            *result = withAlpha((WHITE - t) * light.shadowColor + t * light.color, light.color.a);
            return miTRUE;
        };
        renderer.lights.push_back(scripted);
    }

    const SurfaceCase& c;
};

void compareWithReference(const SurfaceCase& c) {
    const SurfaceOutcome expected = reference::shade(c);
    SurfaceScene scene(c);
    const SurfaceShaderReturnType result = scene.shade();
#define FIELD(name) reference::expectNear(withAlpha(result.name, 1), rgbWith(expected.name, 1), #name)
    FIELD(color);
    FIELD(glowColor);
    FIELD(matteOpacity);
    FIELD(transparency);
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
        reference::expectNear(scene.slot(static_cast<int>(i), c.level()).levelResult, expected.held[i],
                              "type " + std::to_string(c.records[i].type));
    if (!scene.sides.empty())
        reference::expectNear(scene.lightThroughput, expected.lightThroughput, "throughput at the lights");

    // What the call puts back.
    const miState& state = scene.renderer.state;
    EXPECT_EQ(length(V3(state.normal) - V3(c.normal)), 0.0);
    EXPECT_EQ(state.normal_geom.z, c.geometricNormal.z);
    EXPECT_EQ(state.dot_nd, mi_vector_dot(&c.normal, &c.rayDirection));
    EXPECT_EQ(scene.vela().throughput, c.throughput);
    std::vector<miBoolean> sides;
    if (c.rayType != miRAY_SHADOW) {
        EXPECT_EQ(scene.vela().refractionsOn, c.surface.refractionsOn);
        for (const LightCase& light : c.lights)
            for (const miBoolean side : {miFALSE, miTRUE})
                if (!side || c.twoSided) sides.insert(sides.end(), light.samples.size(), side);
    }
    EXPECT_EQ(scene.sides, sides);
}

TEST(StandardMaterials, MatchTheReference) {
    Random random(1);
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        compareWithReference(reference::randomSurface(random));
    }
}

} // namespace

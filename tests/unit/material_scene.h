// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaSpecularParameters.h"
#include "orcaSurfaceShaderReturnType.h"
#include "orcaVelaState.h"
#include "pass_scene.h"
#include "velaBaseState.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// The entry points of an exported material.
#define DECLARE_MATERIAL(name, Parameters)                                                                   \
    extern "C" {                                                                                             \
    int name##_version(void);                                                                                \
    void name##_init(miState* state, Parameters* record, miBoolean* instanceInitRequired);                   \
    void name##_exit(miState* state, Parameters* record);                                                    \
    miBoolean name(SurfaceShaderReturnType* result, miState* state, Parameters* record);                     \
    }
DECLARE_MATERIAL(orcaVelaLambert, LambertParameters)
DECLARE_MATERIAL(orcaVelaPhong, PhongParameters)
DECLARE_MATERIAL(orcaVelaPhongE, PhongEParameters)
DECLARE_MATERIAL(orcaVelaBlinn, BlinnParameters)
DECLARE_MATERIAL(orcaVelaAnisotropic, AnisotropicParameters)

template <class P, class Result = SurfaceShaderReturnType>
struct MaterialEntry {
    int (*version)();
    void (*init)(miState*, P*, miBoolean*);
    void (*exit)(miState*, P*);
    miBoolean (*shade)(Result*, miState*, P*);
};
#define MATERIAL_ENTRY(name)                                                                                 \
    { name##_version, name##_init, name##_exit, name }

constexpr MaterialEntry<LambertParameters> lambert = MATERIAL_ENTRY(orcaVelaLambert);
constexpr MaterialEntry<PhongParameters> phong = MATERIAL_ENTRY(orcaVelaPhong);
constexpr MaterialEntry<PhongEParameters> phongE = MATERIAL_ENTRY(orcaVelaPhongE);
constexpr MaterialEntry<BlinnParameters> blinn = MATERIAL_ENTRY(orcaVelaBlinn);
constexpr MaterialEntry<AnisotropicParameters> anisotropic = MATERIAL_ENTRY(orcaVelaAnisotropic);

/// A scene with passes and the base state.
class MaterialScene : public PassScene {
public:
    explicit MaterialScene(const std::vector<ScenePass>& passes);
    ~MaterialScene();

    VelabaseState& vela() { return *velabaseState(&renderer.state); }
    /// Value of the one record of a pass type at the state's level, after a material's call.
    miColor level(PassTypeID type, int traceLevel = 0) { return only(type, traceLevel).levelResult; }
    /// What the one record of a type hands up from a level.
    miColor handedUp(PassTypeID type, int traceLevel = 0) { return only(type, traceLevel).childResult; }
    /// Empties the first two levels of all records.
    void clear();

    /// A light in the direction `toLight` (of any length) that delivers `color`, of which shadows leave
    /// `arriving`.
    void addLight(const miVector& toLight, const miColor& color, const miColor& arriving);
    void addLight(const miVector& toLight, const miColor& color = WHITE) { addLight(toLight, color, color); }

private:
    void baseState(int operation);
    TraceLevelSlot& only(PassTypeID type, int traceLevel);
};

/// An instance of a material from its init to its exit, with connections whose shaders are functions. `Block`
/// is the parameter record with what the renderer lays out behind it.
template <class P, class Result = SurfaceShaderReturnType, class Block = P>
class MaterialInstance {
public:
    MaterialInstance(MaterialScene& scene, const MaterialEntry<P, Result>& entry, const Block& values)
        : shader(values), scene_(scene), entry_(entry), running_(scene.renderer.state.shader) {
        scene_.renderer.state.shader = &shader.function;
        miBoolean required = miFALSE;
        entry_.init(&scene_.renderer.state, &shader.parameters, &required);
        scene_.renderer.evaluate = [this](miState* state, void* parameter) -> void* {
            const auto source = sources_.find(parameter);
            if (source == sources_.end()) return parameter;
            evaluated_ = source->second(state);
            return &evaluated_;
        };
    }
    ~MaterialInstance() {
        scene_.renderer.evaluate = nullptr;
        entry_.exit(&scene_.renderer.state, &shader.parameters);
    }
    MaterialInstance(const MaterialInstance&) = delete;
    MaterialInstance& operator=(const MaterialInstance&) = delete;

    /// Lets a function compute a colour parameter.
    void connect(miColor* parameter, std::function<miColor(miState*)> source) {
        shader.connect(parameter);
        sources_[parameter] = std::move(source);
    }
    Result shade() { return shade(&scene_.renderer.state); }
    Result shade(miState* state, const Result& before = {}, miBoolean expected = miTRUE) {
        Result result = before;
        state->shader = &shader.function;
        EXPECT_EQ(entry_.shade(&result, state, &shader.parameters), expected);
        EXPECT_EQ(scene_.renderer.pinsHeld(), 0);
        return result;
    }

    ScriptedShader<Block> shader;

private:
    MaterialScene& scene_;
    MaterialEntry<P, Result> entry_;
    const Restored<miFunction*> running_;
    std::map<const void*, std::function<miColor(miState*)>> sources_;
    miColor evaluated_{};
};

/// The declared defaults that matter here, and no ambient terms.
SurfaceParameters plainSurface();
template <class P = LambertParameters>
P plain() {
    P p{};
    static_cast<SurfaceParameters&>(p) = plainSurface();
    return p;
}
/// Parameters of velaBaseState as declared.
BaseStateParameters plainBaseState();

inline void expectColor(const miColor& actual, float r, float g, float b, float tolerance = 1e-5f) {
    EXPECT_NEAR(actual.r, r, tolerance);
    EXPECT_NEAR(actual.g, g, tolerance);
    EXPECT_NEAR(actual.b, b, tolerance);
}
inline void expectColor(const miColor& actual, const miColor& expected, float tolerance = 1e-5f) {
    expectColor(actual, expected.r, expected.g, expected.b, tolerance);
}

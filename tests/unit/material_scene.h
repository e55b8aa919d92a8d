// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaSpecularParameters.h"
#include "orcaSurfaceShaderReturnType.h"
#include "orcaVelaState.h"
#include "pass_scene.h"
#include "velaBaseState.h"

#include <gtest/gtest.h>

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

/// A scene with passes, the base state and one white light that shines straight down onto the hit at the
/// origin.
class MaterialScene : public PassScene {
public:
    explicit MaterialScene(const std::vector<ScenePass>& passes);
    ~MaterialScene();

    VelabaseState& vela() { return *velabaseState(&renderer.state); }
    /// Value of the one record of a pass type at the state's level, after a material's call.
    miColor level(PassTypeID type, int traceLevel = 0);
    /// What the one record of a type hands up from a level.
    miColor handedUp(PassTypeID type, int traceLevel = 0);

    /// A light that delivers `color`, shadowed to `shadowed` where given, from a direction (made unit
    /// length).
    void addLight(const miVector& toLight, const miColor& color = WHITE);

private:
    void baseState(int operation);
    FrameBufferInfo& only(PassTypeID type);
};

/// An instance of the Lambert material, from its init to its exit.
class LambertInstance {
public:
    LambertInstance(MaterialScene& scene, const LambertParameters& values);
    ~LambertInstance();
    SurfaceShaderReturnType shade();
    SurfaceShaderReturnType shade(miState* state);

    ScriptedShader<LambertParameters> shader;

private:
    MaterialScene& scene_;
};

/// The declared defaults that matter here, and no ambient terms.
LambertParameters plainLambert();
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

// SPDX-License-Identifier: Apache-2.0
/// What all materials have in common: their instances' memory, and calls in renderers without a base state.
#include "material_scene.h"
#include "orcaImagePlane.h"
#include "orcaLayeredShader.h"
#include "orcaOcean.h"
#include "orcaShadingMap.h"
#include "orcaSurfaceShader.h"
#include "orcaUseBackground.h"
#include "orcaVelaDirectionalLight.h"
#include "orcaVelaPointLight.h"

namespace {

constexpr const char* sdk = "OrcaShaderSDK(): Internal state error.";

/// From init to exit. Allocations carry `file` and `line`; other programs know those of the standard
/// materials, so that a line is 0 where it may be any. `complaint` is the warning without a base state, null
/// where none is needed.
template <class P, class Result>
void expectLife(const MaterialEntry<P, Result>& entry, const char* file, int line, const char* complaint) {
    SCOPED_TRACE(file);
    ScriptedRenderer renderer;
    ScriptedMemory& memory = renderer.memory;
    miState* const state = &renderer.state;
    ScriptedShader<P> shader;
    state->shader = &shader.function;
    miBoolean required = miFALSE;
    EXPECT_EQ(entry.version(), 1);
    entry.init(state, nullptr, &required);
    EXPECT_EQ(required, miTRUE);
    memory.failing = true;
    entry.init(state, &shader.parameters, &required);
    EXPECT_EQ(*renderer.userPointer(&shader.function), nullptr);
    memory.failing = false;
    EXPECT_EQ(memory.allocationsHeld(), 0);
    entry.init(state, &shader.parameters, &required);
    ASSERT_EQ(memory.allocationsHeld(), 1);
    EXPECT_EQ(memory.held().begin()->second.file, file);
    if (line != 0) {
        EXPECT_EQ(memory.held().begin()->second.line, line);
    }

    Result result{};
    reinterpret_cast<miColor&>(result).r = 7.0f;
    EXPECT_EQ(entry.shade(&result, state, &shader.parameters) != 0, complaint == nullptr);
    if (complaint) {
        EXPECT_EQ(renderer.log, (std::vector<ScriptedMessage>{{'w', complaint}}));
        EXPECT_EQ(reinterpret_cast<miColor&>(result).r, 7.0f);
    }
    entry.exit(state, nullptr);
    EXPECT_EQ(memory.allocationsHeld(), 1);
    entry.exit(state, &shader.parameters);
    EXPECT_EQ(memory.allocationsHeld(), 0);
}

TEST(Materials, LiveFromInitToExitAndSayWhenTheBaseStateIsMissing) {
    expectLife(lambert, "orcaLambert", 35, sdk);
    expectLife(phong, "orcaPhong", 136, sdk);
    expectLife(phongE, "orcaPhongE", 292, sdk);
    expectLife(blinn, "orcaBlinn", 305, sdk);
    expectLife(anisotropic, "orcaAnisotropic", 601, sdk);
    expectLife<OceanShaderParameters, OceanShaderReturnType>(MATERIAL_ENTRY(orcaVelaOceanShader), "orcaOcean",
                                                             305, sdk);
    expectLife<LayeredShaderParameters, SurfaceShaderReturnType>(
        MATERIAL_ENTRY(orcaVelaLayeredShader), "orcaLayeredShader", 0,
        "vela_layeredshader(): Internal state error.");
    expectLife<SurfaceShaderParameters, SurfaceShaderReturnType>(MATERIAL_ENTRY(orcaVelaSurfaceShader),
                                                                 "orcaSurfaceShader", 0, nullptr);
    expectLife<ShadingMapParameters, SurfaceShaderReturnType>(MATERIAL_ENTRY(orcaVelaShadingMap),
                                                              "orcaShadingMap", 0, nullptr);
    expectLife<UseBackgroundParameters, SurfaceShaderReturnType>(
        MATERIAL_ENTRY(orcaVelaUseBackground), "orcaUseBackground", 0,
        "vela_usebackground(): Internal state error.");
    expectLife<ImagePlaneParameters, miColor>(MATERIAL_ENTRY(orcaVelaImagePlane), "orcaImagePlane", 0,
                                              "vela_imageplane(): Internal state error.");
}

TEST(Lights, SayThatTheBaseStateIsMissing) {
    ScriptedRenderer renderer;
    miColor result;
    ScriptedShader<PointLightParameters> point;
    ScriptedShader<DirectionalLightParameters> directional;
    EXPECT_FALSE(orcaVelaPointLight(&result, &renderer.state, &point.parameters));
    EXPECT_FALSE(orcaVelaDirectionalLight(&result, &renderer.state, &directional.parameters));
    EXPECT_EQ(renderer.log,
              (std::vector<ScriptedMessage>{{'w', "vela_pointlight(): Internal state error."},
                                            {'w', "vela_directionallight(): Internal state error."}}));
}

} // namespace

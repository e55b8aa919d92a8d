// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"

#include "orcaLightProtocol.h"
#include "orcaVector.h"

MaterialScene::MaterialScene(const std::vector<ScenePass>& passes) : PassScene(passes) {
    baseState(miSHADERSTATE_STATE_INIT);
    baseState(miSHADERSTATE_SAMPLE_INIT);
    begin();
}

MaterialScene::~MaterialScene() {
    stateShader(miSHADERSTATE_STATE_EXIT);
    baseState(miSHADERSTATE_STATE_EXIT);
    velaBaseState_exit(&renderer.state, nullptr);
}

void MaterialScene::baseState(int operation) {
    ScriptedShader<BaseStateParameters> base(plainBaseState());
    const Restored<miFunction*> running(renderer.state.shader);
    renderer.state.shader = &base.function;
    miShader_state_arg argument{operation, miTRUE};
    velaBaseState(nullptr, &renderer.state, &base.parameters, &argument);
}

TraceLevelSlot& MaterialScene::only(PassTypeID type, int traceLevel) {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* found = nullptr;
    getFrameBufferInfo(&renderer.state, types, found);
    EXPECT_EQ((*types)[type].count, 1);
    return found[(*types)[type].first].levelSlots[traceLevel];
}

void MaterialScene::clear() {
    for (int i = 0; i < static_cast<int>(count()); ++i) slot(i, 0) = slot(i, 1) = {};
}

void MaterialScene::addLight(const miVector& toLight, const miColor& color, const miColor& arriving) {
    ScriptedLight light;
    light.instance = renderer.database.addInstance();
    light.directions = {normalized(toLight)};
    light.shader = [this, color, arriving](miColor* result, miState* state) -> miBoolean {
        setupLightContributions(count(), records(), state);
        setLightIrradiance(count(), records(), &color);
        vela().lightData.unshadowedColor = color;
        *result = arriving;
        return miTRUE;
    };
    renderer.lights.push_back(light);
}

SurfaceParameters plainSurface() {
    SurfaceParameters p{};
    p.passWriteMode = 1;
    p.passWriteScale = 1.0f;
    p.color = {0.5f, 0.4f, 0.2f, 1.0f};
    p.writePasses = miTRUE;
    p.throughputBoost = 1.0f;
    p.refractiveIndex = 1.0f;
    p.diffuse = 0.8f;
    p.refractionLimit = 6;
    p.irradianceColor = WHITE;
    p.refractionBlurSamples = 1;
    return p;
}

BaseStateParameters plainBaseState() {
    BaseStateParameters p{};
    p.transparencyThreshold = 0.999f;
    p.throughputCutoff = -1.0f;
    p.filterTextures = miTRUE;
    return p;
}

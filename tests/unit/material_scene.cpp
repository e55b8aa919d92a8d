// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"

#include "orcaGuards.h"
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

FrameBufferInfo& MaterialScene::only(PassTypeID type) {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* found = nullptr;
    getFrameBufferInfo(&renderer.state, types, found);
    EXPECT_EQ((*types)[type].count, 1);
    return found[(*types)[type].first];
}

miColor MaterialScene::level(PassTypeID type, int traceLevel) {
    return only(type).levelSlots[traceLevel].levelResult;
}

miColor MaterialScene::handedUp(PassTypeID type, int traceLevel) {
    return only(type).levelSlots[traceLevel].childResult;
}

void MaterialScene::addLight(const miVector& toLight, const miColor& color) {
    ScriptedLight light;
    light.instance = renderer.database.addInstance();
    light.directions = {normalized(toLight)};
    light.shader = [this, color](miColor* result, miState* state) -> miBoolean {
        const unsigned records = count();
        setupLightContributions(records, this->records(), state);
        setLightIrradiance(records, this->records(), &color);
        vela().lightData.unshadowedColor = color;
        *result = color;
        return miTRUE;
    };
    renderer.lights.push_back(light);
}

LambertInstance::LambertInstance(MaterialScene& scene, const LambertParameters& values)
    : shader(values), scene_(scene) {
    scene_.renderer.state.shader = &shader.function;
    miBoolean required = miFALSE;
    orcaVelaLambert_init(&scene_.renderer.state, &shader.parameters, &required);
}

LambertInstance::~LambertInstance() {
    scene_.renderer.state.shader = &shader.function;
    orcaVelaLambert_exit(&scene_.renderer.state, &shader.parameters);
}

SurfaceShaderReturnType LambertInstance::shade() {
    return shade(&scene_.renderer.state);
}

SurfaceShaderReturnType LambertInstance::shade(miState* state) {
    state->shader = &shader.function;
    SurfaceShaderReturnType result{};
    EXPECT_EQ(orcaVelaLambert(&result, state, &shader.parameters), miTRUE);
    return result;
}

LambertParameters plainLambert() {
    LambertParameters p{};
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

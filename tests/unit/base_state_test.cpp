// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"

namespace {

class BaseState : public ::testing::Test {
protected:
    BaseState() { renderer.state.shader = &shader.function; }
    ~BaseState() override {
        run(miSHADERSTATE_STATE_EXIT);
        velaBaseState_exit(&renderer.state, nullptr);
        EXPECT_EQ(renderer.memory.allocationsHeld() + renderer.memory.arenasHeld(), 0);
    }
    miBoolean run(int operation) {
        miShader_state_arg argument{operation, miTRUE};
        return velaBaseState(nullptr, &renderer.state, &shader.parameters, &argument);
    }

    ScriptedRenderer renderer;
    ScriptedShader<BaseStateParameters> shader{plainBaseState()};
};

TEST_F(BaseState, FillsInWhatTheSceneLeavesOpen) {
    renderer.options.trace_depth = 3;
    renderer.camera.focal = 2.0f;
    for (const bool orthographic : {false, true}) {
        renderer.camera.orthographic = orthographic;
        EXPECT_EQ(run(miSHADERSTATE_STATE_INIT), miTRUE);
        const VelabaseState& vela = *velabaseState(&renderer.state);
        EXPECT_EQ(vela.maxTraceDepth, 4); // shadows at every level that can be reached
        EXPECT_FLOAT_EQ(vela.filterBase, orthographic ? 0.01f : 0.005f);
        EXPECT_EQ(renderer.shaderStateLifetime(VELABASE_STATE_KEY), miSS_LIFETIME_RECT);
    }
}

TEST_F(BaseState, StartsEverySampleAfresh) {
    shader.parameters.maxTraceDepth = 2;
    shader.parameters.filterBase = 0.5f;
    shader.parameters.depthOutput = miTRUE;
    renderer.internalToCamera[14] = -10.0f; // the camera is at (0, 0, 10)
    run(miSHADERSTATE_STATE_INIT);
    VelabaseState& vela = *velabaseState(&renderer.state);
    vela.throughput = BLACK;
    vela.flags = VELA_BIT_FLUID;
    vela.lightData.skipShadows = miTRUE;
    vela.transparencyCount = 4;
    vela.footprint.screen.x = 1.0f;
    stack_push(&vela.depthStack);
    EXPECT_EQ(run(miSHADERSTATE_SAMPLE_INIT), miTRUE);
    EXPECT_EQ(vela.throughput, WHITE);
    EXPECT_FALSE(vela.flags || vela.lightData.skipShadows || vela.transparencyCount);
    EXPECT_EQ(vela.footprint.screen.x, 0.0f);
    EXPECT_EQ(vela.depthStack.count + renderer.memory.blocksHeld(), 0);
    EXPECT_EQ(vela.maxTraceDepth, 2);
    EXPECT_EQ(vela.filterBase, 0.5f);
    EXPECT_EQ(vela.depthPlaneNormal.z, -1.0f);
    EXPECT_EQ(vela.depthPlaneOffset, 10.0f);
}

TEST_F(BaseState, ComplainsOfAnUnknownOperationAndOfSamplesBeforeItsStart) {
    EXPECT_EQ(run(7), miFALSE);
    EXPECT_EQ(run(miSHADERSTATE_SAMPLE_INIT), miFALSE);
    EXPECT_EQ(renderer.log,
              (std::vector<ScriptedMessage>{{'w', "velaBaseState(): Invoked with invalid opcode."},
                                            {'w', "velaBaseState(): Internal state error."}}));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
/// The shaders around the frame-buffer state: what fills buffers before a sample, and the lens.
#include "orcaConstants.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

extern "C" {
miBoolean orcaFrameBufferInit(void*, miState*, void*, miShader_state_arg*);
miBoolean orcaFrameBufferLens(miColor*, miState*, void*);
}

namespace {

struct InitParameters {
    miInteger passIndex;
    miColor value;
};

TEST(FrameBufferInit, FillsTheNonMaterialPassBeforeEachImageSample) {
    PassScene scene({}, {"depth", "normal"});
    ScriptedRenderer& renderer = scene.renderer;
    struct {
        int operation, passIndex, phase;
        int filled; // 0: none, else the buffer
    } const cases[] = {{0, 1, 1, 0}, {1, 1, 1, 0}, {3, 1, 1, 0},  {2, 1, 1, 2},
                       {2, 0, 1, 1}, {2, 0, 2, 0}, {2, -1, 1, 0}, {2, 2, 1, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        ScriptedShader<InitParameters> shader({9, {5.0f, 6.0f, 7.0f, 8.0f}});
        shader.connect(&shader.parameters.passIndex);
        renderer.setComputed(&shader.parameters.passIndex, c.passIndex);
        renderer.state.shader = &shader.function;
        renderer.answer<int>(miQ_SAMPLE_PHASE, c.phase);
        for (int i = 0; i < 3; ++i) renderer.frameBuffers.value(i) = BLACK;
        miShader_state_arg argument{c.operation, miTRUE};
        EXPECT_TRUE(orcaFrameBufferInit(nullptr, &renderer.state, &shader.parameters, &argument));
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(renderer.frameBuffers.value(i),
                      i > 0 && i == c.filled ? shader.parameters.value : BLACK)
                << i;
    }
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

TEST(FrameBufferLens, GivesThePicturesOwnPassesTheirBackgroundWhereNothingIsHit) {
    constexpr miColor sky{0.2f, 0.4f, 0.9f, 0.5f};
    for (const auto& [traced, hit] : {std::pair{true, false}, {true, true}, {false, false}}) {
        PassScene scene({{PASS_BEAUTY, "a"},
                         {PASS_BEAUTY, "b"},
                         {PASS_DIFFUSE, "c"},
                         {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "d"}});
        scene.begin();
        scene.renderer.traceEye = [&, hit = hit, traced = traced](miColor* result, miState* state,
                                                                  miVector* origin, miVector* direction) {
            EXPECT_EQ(origin, &state->org);
            EXPECT_EQ(direction, &state->dir);
            state->instance = hit ? 1 : 0;
            *result = sky;
            return miBoolean{traced};
        };
        miColor result{};
        EXPECT_EQ(orcaFrameBufferLens(&result, &scene.renderer.state, nullptr), traced);
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(scene.slot(i).childResult, traced && !hit && i != 2 ? sky : BLACK) << i;
    }
}

} // namespace

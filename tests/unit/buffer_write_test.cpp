// SPDX-License-Identifier: Apache-2.0
#include "pass_scene.h"

#include <gtest/gtest.h>

namespace {

/// The records of the four shaders, as declared; `value` is read as each of them needs it.
struct Record {
    miInteger bufferIndex, operation;
    miBoolean enable;
    miScalar scale;
    miColor passThrough;
    miScalar value[5];
};

} // namespace

extern "C" {
miBoolean orcaVelaWriteToColorBuffer(miColor*, miState*, void*);
miBoolean orcaVelaWriteToVectorBuffer(miColor*, miState*, void*);
miBoolean orcaVelaWriteToDepthBuffer(miColor*, miState*, void*);
miBoolean orcaVelaWriteToLabelBuffer(miColor*, miState*, void*);
}

namespace {

constexpr miColor untouched{-1.0f, -2.0f, -3.0f, -4.0f};
constexpr miColor passed{0.25f, 0.5f, 0.75f, 0.125f};

/// Two custom buffers. No instance of any shader has been made: a call needs nothing but its record.
struct BufferWrites : ::testing::Test {
    BufferWrites() : scene({{PASS_BEAUTY, "b"}, {PASS_CUSTOM, "x"}, {PASS_CUSTOM, "y"}}) {
        scene.begin();
        scene.renderer.state.shader = &shader.function;
        shader.parameters = {1, 1, miTRUE, 2.0f, passed, {0.5f, 1.0f, 1.5f, 9.0f, 2.0f}};
    }
    /// What the second buffer holds after a call, from (1, 2, 3, 4).
    miColor written(miBoolean (*write)(miColor*, miState*, void*)) {
        scene.slot(2).levelResult = {1.0f, 2.0f, 3.0f, 4.0f};
        result = untouched;
        EXPECT_EQ(write(&result, &scene.renderer.state, &shader.parameters), miTRUE);
        EXPECT_EQ(scene.slot(1).levelResult, BLACK);
        return scene.slot(2).levelResult;
    }

    static constexpr miColor BLACK{};
    PassScene scene;
    ScriptedShader<Record> shader;
    miColor result{};
};

TEST_F(BufferWrites, CombineTheComponentsOfTheirKind) {
    auto& operation = shader.parameters.operation;
    for (operation = -1; operation <= 5; ++operation) {
        const auto combined = [&](float held, float value) {
            return operation == 0   ? held
                   : operation == 2 ? held * value
                   : operation == 3 ? value
                                    : held + value;
        };
        const float r = combined(1, 1), g = combined(2, 2), b = combined(3, 3);
        SCOPED_TRACE(operation);
        EXPECT_EQ(written(orcaVelaWriteToColorBuffer), (miColor{r, g, b, combined(4, 4)}));
        EXPECT_EQ(written(orcaVelaWriteToVectorBuffer), (miColor{r, g, b, 4}));
        EXPECT_EQ(written(orcaVelaWriteToDepthBuffer), (miColor{r, 2, 3, 4}));
        // A label is only ever cleared.
        EXPECT_EQ(written(orcaVelaWriteToLabelBuffer),
                  (miColor{operation == 2 || operation == 3 ? 0.0f : 1.0f, 2, 3, 4}));
        EXPECT_EQ(result, passed);
    }
}

TEST_F(BufferWrites, LeaveTheBufferWhereNothingIsToBeWritten) {
    constexpr miColor before{1, 2, 3, 4};
    const Record enabled = shader.parameters;
    for (const int index : {-1, 2}) {
        shader.parameters.bufferIndex = index;
        EXPECT_EQ(written(orcaVelaWriteToColorBuffer), before);
        EXPECT_EQ(result, passed);
    }
    shader.parameters = enabled;
    scene.slot(2).levelMode = TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
    EXPECT_EQ(written(orcaVelaWriteToColorBuffer), before);
    scene.slot(2).levelMode = TraceLevelSlot::LEVEL_PASSES_UP;
    scene.renderer.state.type = miRAY_ENVIRONMENT;
    EXPECT_EQ(written(orcaVelaWriteToColorBuffer), before);
    EXPECT_EQ(result, passed);
    scene.renderer.state.type = miRAY_EYE;
    shader.parameters.enable = miFALSE;
    EXPECT_EQ(written(orcaVelaWriteToColorBuffer), before);
    EXPECT_EQ(result, untouched);
    scene.renderer.calls.clear();
    orcaVelaWriteToColorBuffer(&result, &scene.renderer.state, &shader.parameters);
    EXPECT_TRUE(scene.renderer.calls.empty());
}

} // namespace

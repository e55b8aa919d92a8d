// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
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

constexpr miColor before{1, 2, 3, 4}, passed{0.25f, 0.5f, 0.75f, 0.125f};

/// Two custom buffers. No instance of any shader has been made: a call needs nothing but its record.
struct BufferWrites : ::testing::Test {
    BufferWrites() {
        scene.begin();
        scene.renderer.state.shader = &shader.function;
    }
    /// What the second buffer holds after a call, from `before`.
    miColor written(miBoolean (*write)(miColor*, miState*, void*)) {
        scene.slot(2).levelResult = before;
        result = before;
        EXPECT_EQ(write(&result, &scene.renderer.state, &shader.parameters), miTRUE);
        EXPECT_EQ(scene.slot(1).levelResult, BLACK);
        return scene.slot(2).levelResult;
    }

    PassScene scene{{{PASS_BEAUTY, "b"}, {PASS_CUSTOM, "x"}, {PASS_CUSTOM, "y"}}};
    ScriptedShader<Record> shader{{1, 1, miTRUE, 2.0f, passed, {0.5f, 1.25f, 2.5f, 9.0f, 2.0f}}};
    miColor result{};
};

TEST_F(BufferWrites, CombineTheComponentsOfTheirKind) {
    auto& operation = shader.parameters.operation;
    for (operation = -1; operation <= 5; ++operation) {
        SCOPED_TRACE(operation);
        const auto combined = [&](float held, float value) {
            return operation == 0   ? held
                   : operation == 2 ? held * value
                   : operation == 3 ? value
                                    : held + value;
        };
        const float r = combined(1, 1), g = combined(2, 2.5f), b = combined(3, 5);
        EXPECT_EQ(written(orcaVelaWriteToColorBuffer), (miColor{r, g, b, combined(4, 4)}));
        EXPECT_EQ(written(orcaVelaWriteToVectorBuffer), (miColor{r, g, b, 4}));
        EXPECT_EQ(written(orcaVelaWriteToDepthBuffer), (miColor{r, 2, 3, 4}));
        // A label is only ever cleared.
        EXPECT_EQ(written(orcaVelaWriteToLabelBuffer), (miColor{operation / 2 == 1 ? 0.0f : 1.0f, 2, 3, 4}));
        EXPECT_EQ(result, passed);
    }
}

TEST_F(BufferWrites, LeaveTheBufferWhereNothingIsToBeWritten) {
    struct {
        int index;
        unsigned char levelMode;
        miRay_type ray;
        miBoolean enable;
    } const cases[] = {{-1, 0, miRAY_EYE, miTRUE},
                       {2, 0, miRAY_EYE, miTRUE},
                       {1, TraceLevelSlot::LEVEL_WRITES_SUPPRESSED, miRAY_EYE, miTRUE},
                       {1, TraceLevelSlot::LEVEL_PASSES_UP, miRAY_ENVIRONMENT, miTRUE},
                       {1, 0, miRAY_EYE, miFALSE}};
    for (const auto& c : cases) {
        shader.parameters.bufferIndex = c.index;
        shader.parameters.enable = c.enable;
        scene.slot(2).levelMode = c.levelMode;
        scene.renderer.state.type = c.ray;
        EXPECT_EQ(written(orcaVelaWriteToColorBuffer), before);
        EXPECT_EQ(result, c.enable ? passed : before);
    }
}

} // namespace

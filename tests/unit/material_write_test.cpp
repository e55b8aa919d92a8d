// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaMaterial.h"

namespace {

struct WriteRecord {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
};
struct NoHelper {};
using Writer = Material<WriteRecord, NoHelper>;

constexpr miColor held{0.5f, 0.25f, 2.0f, 1.0f};
constexpr miColor value{0.4f, 0.8f, 0.1f, 1.0f};
constexpr miColor light{0.5f, 1.0f, 0.0f, 1.0f};
constexpr miColor reference{1.0f, 1.0f, 0.5f, 1.0f};

struct ModeCase {
    int mode;
    miColor expected;
};

class WriteMode : public ::testing::TestWithParam<ModeCase> {};

/// A diffuse and a specular record that hold `held` and see `light`.
struct OneRecord {
    OneRecord() : scene({{PASS_DIFFUSE, "diffuse"}, {PASS_SPECULAR, "specular"}}) {
        scene.begin();
        getFrameBufferInfo(&scene.renderer.state, types, records);
        for (int i = 0; i < 2; ++i) {
            records[i].levelSlots[0].levelResult = held;
            records[i].levelSlots[0].levelMode = 0;
            records[i].lightColor = light;
            records[i].lightAccum = BLACK;
        }
    }
    template <class Value>
    miColor write(const WriteRecord& settings, const Value& v, bool useLight = false,
                  const miColor* ref = nullptr) {
        ScriptedShader<WriteRecord> shader(settings);
        scene.renderer.state.shader = &shader.function;
        const Writer writer(&scene.renderer.state, &shader.parameters);
        writer.writeToFrameBuffers(&scene.renderer.state, records, types, v, PASS_DIFFUSE, useLight, &ref);
        scene.renderer.state.shader = nullptr;
        EXPECT_EQ(records[1].levelSlots[0].levelResult, held); // another type's record
        return records[0].levelSlots[0].levelResult;
    }

    PassScene scene;
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
};

TEST_P(WriteMode, SaysHowAValueCombinesWithWhatThePassHolds) {
    OneRecord pass;
    EXPECT_EQ(pass.write({GetParam().mode, 0, 1.0f}, value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Modes, WriteMode,
                         ::testing::Values(ModeCase{0, held}, ModeCase{1, held + value},
                                           ModeCase{2, held* value}, ModeCase{3, value},
                                           ModeCase{4, held + value}, ModeCase{-1, held + value}));

TEST(MaterialWrite, ScalesOnlyWhenTheFlagAsksForIt) {
    EXPECT_EQ(OneRecord().write({3, 1, 0.5f}, value), value * 0.5f);
    EXPECT_EQ(OneRecord().write({3, 2, 0.5f}, value), value);
}

TEST(MaterialWrite, WeighsByTheLightOrByWhatTheLightLacks) {
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, true), value * light);
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, true, &reference), value * (reference - light));
    // A reference without the light is no reason to weigh.
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, false, &reference), value);
}

TEST(MaterialWrite, KeepsScalarsInRed) {
    const miColor result = OneRecord().write({1, 0, 1.0f}, 2.0f, true);
    EXPECT_NEAR(result.r, held.r + 2.0f * luminance(light), 1e-6f);
    EXPECT_EQ(withAlpha(result, 0.0f).g, held.g);
    EXPECT_EQ(result.b, held.b);
    OneRecord white;
    white.records[0].lightColor = WHITE;
    EXPECT_NEAR(white.write({3, 0, 1.0f}, 2.0f, true).r, 2.0f, 1e-6f);
}

TEST(MaterialWrite, AddsUnscaledToTheLightsAccumulatorInALightLoop) {
    for (const int mode : {1, 2, 3}) {
        OneRecord pass;
        pass.records[0].flags |= FB_IN_LIGHT_LOOP;
        pass.records[0].lightAccum = held;
        EXPECT_EQ(pass.write({mode, 1, 0.5f}, value, true), held);
        EXPECT_EQ(pass.records[0].lightAccum, held + value * light);
    }
    OneRecord silent;
    silent.records[0].flags |= FB_IN_LIGHT_LOOP;
    silent.write({0, 0, 1.0f}, value);
    EXPECT_EQ(silent.records[0].lightAccum, BLACK);
}

TEST(MaterialWrite, LeavesClosedSlotsAndEnvironmentRaysAlone) {
    OneRecord pass;
    pass.records[0].levelSlots[0].levelMode = TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
    EXPECT_EQ(pass.write({1, 0, 1.0f}, value), held);
    pass.records[0].levelSlots[0].levelMode = TraceLevelSlot::LEVEL_PASSES_UP;
    pass.scene.renderer.state.type = miRAY_ENVIRONMENT;
    EXPECT_EQ(pass.write({1, 0, 1.0f}, value), held);
}

} // namespace

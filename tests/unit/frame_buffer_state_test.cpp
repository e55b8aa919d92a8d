// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>

extern "C" {
void orcaFrameBufferState_init(miState*, void*, miBoolean*);
void orcaFrameBufferInit_init(miState*, void*, miBoolean*);
miBoolean orcaFrameBufferInit(void*, miState*, void*, miShader_state_arg*);
miBoolean orcaFrameBufferLens(miColor*, miState*, void*);
miBoolean orcaTraversal(miColor*, miState*, void*);
}

namespace {

const std::vector<ScenePass> threePasses{
    {PASS_BEAUTY, "beauty", FB_SHADOWED}, {PASS_DIFFUSE, "diffuse", FB_SHADOWED}, {PASS_DIFFUSE, "diffuse2"}};

TEST(FrameBufferState, BuildsContiguousRunsInTypeOrderAndOneSlotArrayPerRecord) {
    PassScene scene(threePasses);
    scene.renderer.options.trace_depth = 3;
    ASSERT_TRUE(scene.stateShader(miSHADERSTATE_STATE_INIT));

    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
    ASSERT_EQ(getFrameBufferInfo(&scene.renderer.state, types, records), 3u);
    EXPECT_EQ((*types)[PASS_BEAUTY].first, 0);
    EXPECT_EQ((*types)[PASS_AMBIENT].first, 1); // no pass of this type: where the next one starts
    EXPECT_EQ((*types)[PASS_AMBIENT].count, 0);
    EXPECT_EQ((*types)[PASS_DIFFUSE].first, 1);
    EXPECT_EQ((*types)[PASS_DIFFUSE].count, 2);
    EXPECT_EQ((*types)[PASS_BEAUTY_NO_REFLECTION_REFRACTION].first, 3);
    EXPECT_EQ(records[1].levelSlots - records[0].levelSlots, 4);
    EXPECT_EQ(records[0].frameBufferIndex, FRAME_BUFFER_UNRESOLVED);
    for (const char* key : {"orcaPassState", "orcaFBState"})
        EXPECT_EQ(scene.renderer.shaderStateLifetime(key), 2);

    EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 1); // the slots; the records are the renderer's copy
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
    EXPECT_TRUE(scene.renderer.log.empty());
}

TEST(FrameBufferState, ResolvesNamesFlagsAndBoundsOnceAtTheFirstSample) {
    constexpr unsigned all = 0x1FF;
    PassScene scene({{PASS_BEAUTY, "beauty", all, 1, 2, 3, 4, 77},
                     {PASS_DIFFUSE_NO_SHADOW, "noShadow", FB_SHADOWED | FB_WEIGHT_BY_OPACITY},
                     {PASS_SPECULAR_NO_SHADOW, "specNoShadow", FB_SHADOWED},
                     {PASS_DIRECT_IRRADIANCE_NO_SHADOW, "irrNoShadow", FB_SHADOWED},
                     {PASS_SHADOW, "shadow"},
                     {PASS_SHADOW_LUMINANCE, "shadowLum"},
                     {PASS_RAW_SHADOW, "raw"},
                     {PASS_RAW_SHADOW_LUMINANCE, "rawLum"},
                     {PASS_TRANSLUCENCE_NO_SHADOW, "translNoShadow", FB_SHADOWED},
                     {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "beautyNo", FB_SHADOWED}});
    scene.begin();

    const FrameBufferInfo& beauty = scene.record(0);
    EXPECT_EQ(beauty.frameBufferIndex, static_cast<miUint>(scene.buffer("beauty")));
    EXPECT_EQ(beauty.flags, all);
    EXPECT_EQ(beauty.minReflectionLevel, 1);
    EXPECT_EQ(beauty.maxReflectionLevel, 2);
    EXPECT_EQ(beauty.minRefractionLevel, 3);
    EXPECT_EQ(beauty.maxRefractionLevel, 4);
    EXPECT_EQ(beauty.userWord4, 77u);
    EXPECT_EQ(scene.record(1).flags, unsigned{FB_WEIGHT_BY_OPACITY});
    for (const int unshadowed : {2, 3, 8, 9}) EXPECT_EQ(scene.record(unshadowed).flags, 0u) << unshadowed;
    for (const int shadowOnly : {4, 5, 6, 7})
        EXPECT_EQ(scene.record(shadowOnly).flags, 0x2080u) << shadowOnly;

    scene.record(0).flags |= FB_IN_LIGHT_LOOP;
    const int lookups = scene.renderer.callCount("getFramebuffers");
    scene.stateShader(miSHADERSTATE_SAMPLE_INIT);
    EXPECT_EQ(scene.renderer.callCount("getFramebuffers"), lookups);
    EXPECT_TRUE(scene.record(0).flags & FB_IN_LIGHT_LOOP);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
    EXPECT_EQ(scene.renderer.collectionsHeld + scene.renderer.interfacesHeld, 0);
}

TEST(FrameBufferState, ClearsWhatTheEyeLevelHandsOutBeforeEverySample) {
    PassScene scene(threePasses);
    scene.begin();
    for (int i = 0; i < 3; ++i) scene.slot(i).childResult = scene.slot(i).levelAux = WHITE;
    scene.slot(0, 1).childResult = WHITE;
    scene.stateShader(miSHADERSTATE_SAMPLE_INIT);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(scene.slot(i).childResult, BLACK);
        EXPECT_EQ(scene.slot(i).levelAux, BLACK);
    }
    EXPECT_EQ(scene.slot(0, 1).childResult, WHITE);
}

TEST(FrameBufferState, KeepsNoRecordsWhereACountIsNegative) {
    PassScene scene(threePasses);
    auto& block = *reinterpret_cast<FrameBufferData*>(
        scene.renderer.database.element<miUserdata>(scene.dataBlock).parameters());
    miInteger* const counts = arrayElements(block.FrameBufferTypeCounts, block.i_FrameBufferTypeCounts);
    counts[PASS_BEAUTY] = -1;
    counts[PASS_DIFFUSE] = 4; // three records in all, from the one before the first
    scene.begin();
    EXPECT_EQ(scene.count(), 0u);
}

struct CountsCase {
    int given;
    unsigned records;
};
class TypeCounts : public ::testing::TestWithParam<CountsCase> {};

TEST_P(TypeCounts, OfTheWrongLengthAreReportedAndTolerated) {
    PassScene scene({{PASS_BEAUTY, "beauty"}, {PASS_AMBIENT_MATERIAL_COLOR, "ambient"}}, {},
                    GetParam().given);
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_STATE_INIT));
    EXPECT_EQ(scene.renderer.messagesOf('e'),
              std::vector<std::string>{
                  "orcaFrameBufferState(): FrameBufferTypeCounts array does not have the expected "
                  "number of elements."});
    EXPECT_EQ(scene.count(), GetParam().records);
}
// One count only: the types say one record, the array holds two, so there are no passes.
INSTANTIATE_TEST_SUITE_P(Lengths, TypeCounts,
                         ::testing::Values(CountsCase{2, 2}, CountsCase{34, 2}, CountsCase{40, 2},
                                           CountsCase{1, 0}));

TEST(FrameBufferState, ReportsRecordsWithoutANameAndLeavesThemBufferZero) {
    PassScene scene({{PASS_BEAUTY, "beauty"}, {PASS_DIFFUSE, ""}, {PASS_SPECULAR, ""}});
    scene.begin();
    EXPECT_EQ(scene.renderer.messagesOf('e'),
              std::vector<std::string>(2, "Missing frameBufferName parameter in frameBufferInfo record."));
    EXPECT_EQ(scene.record(1).frameBufferIndex, 0u);
}

TEST(FrameBufferState, WithoutADataBlockThereAreNoPassesAndNothingFails) {
    PassScene scene(threePasses);
    scene.renderer.camera.userdata = miNULLTAG;
    EXPECT_FALSE(scene.stateShader(miSHADERSTATE_STATE_INIT));
    EXPECT_EQ(scene.count(), 0u);
    for (const int operation : {2, 3, 1}) EXPECT_TRUE(scene.stateShader(operation)) << operation;
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 0);
    EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 0);
}

/// Words of the data block, with which a scene file may go wrong.
enum BlockWord { namesStart = 1, namesCount = 2, recordsStart = 4, recordsCount = 5, countsCount = 22 };
struct DamageCase {
    BlockWord word;
    miUint value;
};
class DamagedBlock : public ::testing::TestWithParam<DamageCase> {};

TEST_P(DamagedBlock, IsReportedAndMeansNoPasses) {
    PassScene scene(threePasses, {"depth"});
    auto* const words =
        reinterpret_cast<miUint*>(scene.renderer.database.element<miUserdata>(scene.dataBlock).parameters());
    words[GetParam().word] = GetParam().value;
    EXPECT_FALSE(scene.stateShader(miSHADERSTATE_STATE_INIT));
    ASSERT_EQ(scene.renderer.messagesOf('e').size(), 1u);
    EXPECT_NE(scene.renderer.messagesOf('e')[0].find("block is damaged"), std::string::npos);
    EXPECT_EQ(getNonMaterialPassFrameBufferIndex(&scene.renderer.state, 0), 0u);
    for (const int operation : {2, 3, 1}) EXPECT_TRUE(scene.stateShader(operation)) << operation;
    EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 0);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
}
// 0x03000000: three, in the other byte order.
INSTANTIATE_TEST_SUITE_P(Words, DamagedBlock,
                         ::testing::Values(DamageCase{namesStart, 0x40000000u},
                                           DamageCase{namesCount, 0x03000000u},
                                           DamageCase{recordsStart, 0x7FFFFFFFu},
                                           DamageCase{recordsStart, static_cast<miUint>(-1)},
                                           DamageCase{recordsCount, 0x03000000u},
                                           DamageCase{recordsCount, static_cast<miUint>(-3)},
                                           DamageCase{countsCount, PASS_TYPE_COUNT + 1}));

TEST(FrameBufferState, ReportsACutOffBlock) {
    PassScene scene(threePasses);
    scene.renderer.camera.userdata =
        scene.renderer.database.addUserData({static_cast<miUint>(FRAME_BUFFER_DATA_MAGIC)});
    EXPECT_FALSE(scene.stateShader(miSHADERSTATE_STATE_INIT));
    EXPECT_EQ(scene.renderer.messagesOf('e').size(), 1u);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
}

TEST(FrameBufferState, ReportsTypeCountsThatLeadOutOfTheRecords) {
    constexpr miUint largest = 0x7FFFFFFFu;
    using Counts = std::array<miUint, 4>;
    for (const Counts& counts : {Counts{static_cast<miUint>(-40000), 40003, 0, 0}, //
                                 Counts{largest, largest, 5, 0}}) {                // three, but for the carry
        PassScene scene(threePasses);
        auto* const words = reinterpret_cast<miUint*>(
            scene.renderer.database.element<miUserdata>(scene.dataBlock).parameters());
        miUint* const stored = words + 23 + words[21];
        std::fill_n(stored, PASS_TYPE_COUNT, 0u);
        std::copy(counts.begin(), counts.end(), stored);
        EXPECT_FALSE(scene.stateShader(miSHADERSTATE_STATE_INIT));
        EXPECT_EQ(scene.renderer.messagesOf('e').size(), 1u);
        EXPECT_EQ(scene.count(), 0u);
        EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 0);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
    }
}

TEST(FrameBufferState, HasASlotForTheEyeWhateverTheTraceDepth) {
    PassScene scene(threePasses);
    scene.renderer.options.trace_depth = -2;
    scene.begin();
    EXPECT_EQ(scene.slot(1).childResult, BLACK);
    EXPECT_EQ(&scene.slot(1) - &scene.slot(0), 1);
}

TEST(FrameBufferState, ReportsATraceDepthThatNoMemoryHolds) {
    PassScene deep(threePasses);
    deep.renderer.options.trace_depth = 0x7FFFFFFF;
    EXPECT_FALSE(deep.stateShader(miSHADERSTATE_STATE_INIT));
    EXPECT_EQ(deep.renderer.messagesOf('e').size(), 1u);
    EXPECT_EQ(deep.renderer.memory.allocationsHeld(), 0);
}

TEST(FrameBufferState, HoldsNoMemoryWithoutPasses) {
    PassScene scene({});
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_STATE_INIT));
    for (const int operation : {2, 3, 1}) EXPECT_TRUE(scene.stateShader(operation)) << operation;
    EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 0);
}

TEST(FrameBufferState, NeitherTouchesNorShowsPassesOutsideImageSamples) {
    PassScene scene(threePasses);
    scene.begin();
    scene.slot(0).childResult = WHITE;
    for (const int phase : {2, 3, 4}) {
        scene.renderer.answer<int>(miQ_SAMPLE_PHASE, phase);
        EXPECT_EQ(scene.count(), 0u);
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_INIT));
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
    }
    scene.renderer.refuse(miQ_SAMPLE_PHASE);
    EXPECT_EQ(scene.count(), 0u);
    scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 1);
    EXPECT_EQ(scene.slot(0).childResult, WHITE);
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 0);
}

TEST(FrameBufferState, StoredRecordsOfAnotherSizeAreNoPasses) {
    PassScene scene(threePasses);
    scene.begin();
    std::vector<char> shorter(2 * sizeof(FrameBufferInfo));
    scene.renderer.setShaderState("orcaFBState", shorter.data(), static_cast<int>(shorter.size()), 2);
    EXPECT_EQ(scene.count(), 0u);
}

TEST(FrameBufferState, ReleasesItsSlotsOnlyOnceASampleHasResolvedThem) {
    {
        PassScene scene(threePasses);
        scene.begin();
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_STATE_EXIT));
        EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 0);
        EXPECT_EQ(scene.renderer.shaderState("orcaFBState"), nullptr);
        EXPECT_EQ(scene.renderer.shaderState("orcaPassState"), nullptr);
    }
    PassScene unused(threePasses);
    unused.stateShader(miSHADERSTATE_STATE_INIT);
    EXPECT_TRUE(unused.stateShader(miSHADERSTATE_STATE_EXIT));
    EXPECT_EQ(unused.renderer.shaderState("orcaFBState"), nullptr);
    EXPECT_EQ(unused.renderer.memory.allocationsHeld(),
              1); // a state without samples keeps them: known, and meant
}

TEST(FrameBufferState, AForeignFailureInALookUpLeavesNoPinBehind) {
    PassScene scene(threePasses, {"depth"});
    scene.stateShader(miSHADERSTATE_STATE_INIT);
    scene.renderer.onCall = [](const char* name) {
        if (std::string_view(name) == "getFramebuffers") throw std::runtime_error("foreign");
    };
    EXPECT_THROW(scene.stateShader(miSHADERSTATE_SAMPLE_INIT), std::runtime_error);
    EXPECT_THROW((void)getNonMaterialPassFrameBufferIndex(&scene.renderer.state, 0), std::runtime_error);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
    EXPECT_EQ(scene.renderer.interfacesHeld, 0);
}

TEST(FrameBufferState, UnknownOperationsWarnAndFail) {
    PassScene scene(threePasses);
    EXPECT_FALSE(scene.stateShader(4));
    EXPECT_EQ(scene.renderer.messagesOf('w'),
              std::vector<std::string>{"vela_state(): Invoked with invalid opcode."});

    miShader_state_arg argument{-1, miTRUE};
    EXPECT_FALSE(orcaFrameBufferInit(nullptr, &scene.renderer.state, nullptr, &argument));
    EXPECT_EQ(scene.renderer.log.back(),
              (ScriptedMessage{'w', "orcaFrameBufferInit(): Invoked with invalid opcode."}));
}

TEST(FrameBufferState, SaysSoWhenItIsNotInstalledAsAStateShader) {
    ScriptedRenderer renderer;
    miBoolean initRequired = miTRUE;
    renderer.answer<int>(miQ_FUNC_CALLTYPE, miSHADER_STATE);
    orcaFrameBufferState_init(&renderer.state, nullptr, &initRequired);
    EXPECT_FALSE(initRequired);
    EXPECT_TRUE(renderer.log.empty());

    renderer.answer<int>(miQ_FUNC_CALLTYPE, miSHADER_LENS);
    orcaFrameBufferState_init(&renderer.state, nullptr, &initRequired);
    orcaFrameBufferInit_init(&renderer.state, nullptr, &initRequired);
    EXPECT_EQ(
        renderer.messagesOf('e'),
        (std::vector<std::string>{"orcaFrameBufferState(): Not invoked as state shader.\nCould be a version "
                                  "mismatch. Re-export the .mi",
                                  "orcaFrameBufferInit(): Not invoked as state shader.\nCould be a version "
                                  "mismatch. Re-export the .mi"}));
}

// --- writing the frame buffers

const std::vector<ScenePass> volumesBetweenColours{{PASS_DIFFUSE, "diffuse"},
                                                   {PASS_LIGHT_VOLUME, "lightVolume"},
                                                   {PASS_SCENE_VOLUME, "sceneVolume"},
                                                   {PASS_OBJECT_VOLUME, "objectVolume"},
                                                   {PASS_REFLECTION, "reflection"}};
constexpr miColor faint{0.1f, 0.2f, 0.3f, 0.3f};

TEST(FrameBufferState, WritesPositiveAlphaAsOneExceptForVolumes) {
    PassScene scene(volumesBetweenColours);
    scene.begin();
    for (int i = 0; i < 5; ++i) scene.slot(i).childResult = faint;
    scene.slot(4).childResult.a = 0.0f;
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
    const auto alpha = [&](const char* name) {
        return scene.renderer.frameBuffers.value(scene.buffer(name)).a;
    };
    EXPECT_EQ(alpha("diffuse"), 1.0f);
    EXPECT_EQ(alpha("lightVolume"), 0.3f);
    EXPECT_EQ(alpha("sceneVolume"), 0.3f);
    EXPECT_EQ(alpha("objectVolume"), 0.3f);
    EXPECT_EQ(alpha("reflection"), 0.0f);
    EXPECT_EQ(scene.renderer.frameBuffers.value(scene.buffer("diffuse")).g, 0.2f);
    EXPECT_EQ(scene.renderer.callCount("mi_fb_get"), 0);
}

TEST(FrameBufferState, AddsUpTheHitsOfASampleThatTheRasterizerComposes) {
    PassScene scene(volumesBetweenColours);
    scene.begin();
    scene.renderer.options.scanline = 'r';
    for (int i = 0; i < 5; ++i) {
        scene.slot(i).childResult = faint;
        scene.renderer.frameBuffers.setValue(i + 1, faint);
    }
    const int diffuse = scene.buffer("diffuse");
    scene.stateShader(miSHADERSTATE_SAMPLE_EXIT); // the byte is not set: as anywhere else
    EXPECT_EQ(scene.renderer.frameBuffers.value(diffuse), (miColor{0.1f, 0.2f, 0.3f, 1.0f}));

    scene.renderer.state.rast_compose = 1;
    scene.renderer.frameBuffers.setValue(scene.buffer("sceneVolume"), faint);
    scene.stateShader(miSHADERSTATE_SAMPLE_EXIT);
    EXPECT_EQ(scene.renderer.frameBuffers.value(diffuse), (miColor{0.2f, 0.4f, 0.6f, 1.0f}));
    EXPECT_EQ(scene.renderer.frameBuffers.value(scene.buffer("sceneVolume")),
              (miColor{0.2f, 0.4f, 0.6f, 0.6f}));
}

TEST(FrameBufferState, WritesNothingForFailedSamplesAndOtherRays) {
    PassScene scene(threePasses);
    scene.begin();
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT, miFALSE));
    scene.renderer.state.type = miRAY_REFLECT;
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 0);
}

// --- the shaders around it

struct InitParameters {
    miInteger passIndex;
    miColor value;
};

TEST(FrameBufferInit, FillsTheNonMaterialPassBeforeEachSample) {
    PassScene scene({}, {"depth", "normal"});
    ScriptedShader<InitParameters> shader({1, {5.0f, 6.0f, 7.0f, 8.0f}});
    scene.renderer.state.shader = &shader.function;
    for (const int operation : {0, 1, 3}) {
        miShader_state_arg argument{operation, miTRUE};
        EXPECT_TRUE(orcaFrameBufferInit(nullptr, &scene.renderer.state, &shader.parameters, &argument));
    }
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 0);

    miShader_state_arg sample{miSHADERSTATE_SAMPLE_INIT, miTRUE};
    EXPECT_TRUE(orcaFrameBufferInit(nullptr, &scene.renderer.state, &shader.parameters, &sample));
    EXPECT_EQ(scene.renderer.frameBuffers.value(scene.buffer("normal")), (miColor{5.0f, 6.0f, 7.0f, 8.0f}));
    EXPECT_FALSE(scene.renderer.frameBuffers.written(scene.buffer("depth")));

    shader.connect(&shader.parameters.passIndex);
    for (const int absent : {-1, 2}) {
        scene.renderer.setComputed(&shader.parameters.passIndex, absent);
        EXPECT_TRUE(orcaFrameBufferInit(nullptr, &scene.renderer.state, &shader.parameters, &sample));
    }
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 1);
    scene.renderer.setComputed(&shader.parameters.passIndex, 0);
    orcaFrameBufferInit(nullptr, &scene.renderer.state, &shader.parameters, &sample);
    EXPECT_TRUE(scene.renderer.frameBuffers.written(scene.buffer("depth")));
    scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 2);
    orcaFrameBufferInit(nullptr, &scene.renderer.state, &shader.parameters, &sample);
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 2);
    EXPECT_EQ(scene.renderer.pinsHeld(), 0);
}

struct LensCase {
    bool traced, hit, background;
};
class FrameBufferLens : public ::testing::TestWithParam<LensCase> {};

TEST_P(FrameBufferLens, GivesThePicturesOwnPassesTheirBackgroundWhereNothingIsHit) {
    const LensCase& sample = GetParam();
    PassScene scene({{PASS_BEAUTY, "a"},
                     {PASS_BEAUTY, "b"},
                     {PASS_DIFFUSE, "c"},
                     {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "d"}});
    scene.begin();
    constexpr miColor sky{0.2f, 0.4f, 0.9f, 0.5f};
    scene.renderer.traceEye = [&](miColor* result, miState* state, miVector* origin, miVector* direction) {
        EXPECT_EQ(origin, &state->org);
        EXPECT_EQ(direction, &state->dir);
        state->instance = sample.hit ? 1 : 0;
        *result = sky;
        return miBoolean{sample.traced};
    };
    miColor result{};
    EXPECT_EQ(orcaFrameBufferLens(&result, &scene.renderer.state, nullptr), sample.traced);
    for (const int picture : {0, 1, 3})
        EXPECT_EQ(scene.slot(picture).childResult, sample.background ? sky : BLACK);
    EXPECT_EQ(scene.slot(2).childResult, BLACK);
}
INSTANTIATE_TEST_SUITE_P(EyeRays, FrameBufferLens,
                         ::testing::Values(LensCase{true, false, true}, LensCase{true, true, false},
                                           LensCase{false, false, false}));

TEST(Traversal, DoesNothingAndSucceeds) {
    ScriptedRenderer renderer;
    EXPECT_TRUE(orcaTraversal(nullptr, &renderer.state, nullptr));
    EXPECT_TRUE(renderer.calls.empty());
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <algorithm>

extern "C" {
void orcaFrameBufferState_init(miState*, void*, miBoolean*);
void orcaFrameBufferInit_init(miState*, void*, miBoolean*);
miBoolean orcaFrameBufferInit(void*, miState*, void*, miShader_state_arg*);
}

namespace {

const std::vector<ScenePass> threePasses{
    {PASS_BEAUTY, "beauty", FB_SHADOWED}, {PASS_DIFFUSE, "diffuse", FB_SHADOWED}, {PASS_DIFFUSE, "diffuse2"}};

TEST(FrameBufferState, BuildsContiguousRunsInTypeOrderAndOneSlotArrayPerRecord) {
    for (const int depth : {3, -2}) { // whatever it is, there is a slot for the eye
        PassScene scene(threePasses);
        scene.renderer.options.trace_depth = depth;
        ASSERT_TRUE(scene.stateShader(miSHADERSTATE_STATE_INIT));
        PassTypeInfo* types = nullptr;
        FrameBufferInfo* records = nullptr;
        ASSERT_EQ(getFrameBufferInfo(&scene.renderer.state, types, records), 3u);
        for (int type = 0; type <= PASS_DIFFUSE_NO_SHADOW; ++type) {
            const auto& run = (*types)[static_cast<PassTypeID>(type)];
            EXPECT_EQ(run.first, type == PASS_BEAUTY ? 0 : type <= PASS_DIFFUSE ? 1 : 3) << type;
            EXPECT_EQ(run.count, type == PASS_BEAUTY ? 1 : type == PASS_DIFFUSE ? 2 : 0) << type;
        }
        EXPECT_EQ(records[1].levelSlots - records[0].levelSlots, std::max(depth, 0) + 1);
        EXPECT_EQ(records[0].frameBufferIndex, FRAME_BUFFER_UNRESOLVED);
        for (const char* key : {"orcaPassState", "orcaFBState"})
            EXPECT_EQ(scene.renderer.shaderStateLifetime(key), 2);
        EXPECT_EQ(scene.renderer.memory.allocationsHeld(), 1); // slots; the records are the renderer's copy
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        EXPECT_TRUE(scene.renderer.log.empty());
    }
}

TEST(FrameBufferState, ResolvesNamesFlagsAndBoundsOnceAtTheFirstSample) {
    constexpr unsigned all = 0x1FF;
    std::vector<ScenePass> passes;
    for (int type = 0; type < PASS_TYPE_COUNT; ++type)
        passes.push_back({static_cast<PassTypeID>(type), std::to_string(type), all, 1, 2, 3, 4, 77});
    passes[PASS_SHADOW].flags = 0;
    passes[PASS_CUSTOM].buffer = "";
    PassScene scene(passes);
    scene.begin();
    for (int type = 0; type < PASS_TYPE_COUNT; ++type) {
        SCOPED_TRACE(type);
        const FrameBufferInfo& record = scene.record(type);
        const bool removed = type >= PASS_SHADOW && type <= PASS_RAW_SHADOW_LUMINANCE;
        const bool unshadowed = type == PASS_DIFFUSE_NO_SHADOW || type == PASS_SPECULAR_NO_SHADOW ||
                                type == PASS_DIRECT_IRRADIANCE_NO_SHADOW ||
                                type == PASS_TRANSLUCENCE_NO_SHADOW ||
                                type == PASS_BEAUTY_NO_REFLECTION_REFRACTION;
        EXPECT_EQ(record.flags, (passes[type].flags | (removed ? FB_SHADOW_ONLY | FB_SHADOWED : 0u)) &
                                    ~(unshadowed ? unsigned{FB_SHADOWED} : 0u));
        EXPECT_EQ(record.frameBufferIndex, static_cast<miUint>(scene.buffer(passes[type].buffer)));
        EXPECT_EQ(record.minReflectionLevel * 1000 + record.maxReflectionLevel * 100 +
                      record.minRefractionLevel * 10 + record.maxRefractionLevel,
                  1234);
        EXPECT_EQ(record.userWord4, 77u);
    }
    EXPECT_EQ(scene.renderer.log,
              (std::vector<ScriptedMessage>{
                  {'e', "Missing frameBufferName parameter in frameBufferInfo record."}}));

    // The next sample keeps the flags, and clears what the eye's level hands out.
    scene.slot(0).childResult = scene.slot(0).levelAux = scene.slot(0, 1).childResult = WHITE;
    scene.record(0).flags |= FB_IN_LIGHT_LOOP;
    const int lookups = scene.renderer.callCount("getFramebuffers");
    scene.stateShader(miSHADERSTATE_SAMPLE_INIT);
    EXPECT_EQ(scene.renderer.callCount("getFramebuffers"), lookups);
    EXPECT_TRUE(scene.record(0).flags & FB_IN_LIGHT_LOOP);
    EXPECT_EQ(scene.slot(0).childResult, BLACK);
    EXPECT_EQ(scene.slot(0).levelAux, BLACK);
    EXPECT_EQ(scene.slot(0, 1).childResult, WHITE);
    EXPECT_EQ(scene.renderer.pinsHeld() + scene.renderer.collectionsHeld + scene.renderer.interfacesHeld, 0);
}

// --- scenes that are wrong

/// A data block as a scene file may have it: a word that is wrong, or the counts of the first types.
struct Damage {
    int word;
    miUint value;
    std::vector<miUint> counts = {};
};

TEST(FrameBufferState, ReportsADamagedBlockAndThenHasNoPasses) {
    constexpr int namesStart = 1, namesCount = 2, recordsStart = 4, recordsCount = 5, countsStart = 21,
                  countsCount = 22;
    constexpr int noBlock = -1, cutOff = -2, deepTraces = -3, counts = -4; // or as a whole
    constexpr miUint minus3 = static_cast<miUint>(-3), otherByteOrder = 0x03000000u, largest = 0x7FFFFFFFu;
    const Damage damages[] = {{noBlock, 0},
                              {cutOff, 0},
                              {deepTraces, 0},
                              {namesStart, 0x40000000u},
                              {namesCount, otherByteOrder},
                              {recordsStart, largest},
                              {recordsStart, minus3},
                              {recordsCount, otherByteOrder},
                              {recordsCount, minus3},
                              {countsCount, PASS_TYPE_COUNT + 1u},
                              {counts, 0, {static_cast<miUint>(-40000), 40003}},
                              {counts, 0, {largest, largest, 5}}, // three, but for the carry
                              {counts, 0, {static_cast<miUint>(-1), 0, 0, 0, 0, 4}}};
    for (const Damage& damage : damages) {
        SCOPED_TRACE(&damage - damages);
        PassScene scene(threePasses, {"depth"});
        ScriptedRenderer& renderer = scene.renderer;
        miUint* const words = scene.blockWords();
        if (damage.word == noBlock) renderer.camera.userdata = miNULLTAG;
        else if (damage.word == cutOff) renderer.camera.userdata = renderer.database.addUserData({words[0]});
        else if (damage.word == deepTraces) renderer.options.trace_depth = 0x7FFFFFFF;
        else if (damage.word >= 0) words[damage.word] = damage.value;
        if (damage.word == counts) {
            miUint* const stored = words + 23 + words[countsStart];
            std::fill_n(stored, PASS_TYPE_COUNT, 0u);
            std::copy(damage.counts.begin(), damage.counts.end(), stored);
        }
        EXPECT_FALSE(scene.stateShader(miSHADERSTATE_STATE_INIT));
        EXPECT_EQ(renderer.log.size(), damage.word == noBlock ? 0u : 1u);
        if (damage.word >= 0) {
            EXPECT_NE(renderer.log[0].text.find("block is damaged"), std::string::npos);
            EXPECT_EQ(getNonMaterialPassFrameBufferIndex(&renderer.state, 0), 0u);
        }
        EXPECT_EQ(scene.count(), 0u);
        for (const int operation : {2, 3, 1}) EXPECT_TRUE(scene.stateShader(operation)) << operation;
        EXPECT_EQ(renderer.frameBuffers.putCount() + renderer.memory.allocationsHeld() + renderer.pinsHeld(),
                  0);
    }
}

TEST(FrameBufferState, ToleratesTypeCountsOfTheWrongLength) {
    // One count only: the types say one record, the array holds two, so there are no passes.
    for (const auto& [given, records] : {std::pair{2, 2u}, {34, 2u}, {40, 2u}, {1, 0u}}) {
        PassScene scene({{PASS_BEAUTY, "beauty"}, {PASS_AMBIENT_MATERIAL_COLOR, "ambient"}}, {}, given);
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_STATE_INIT));
        EXPECT_EQ(scene.renderer.log.size(), 1u);
        EXPECT_EQ(scene.count(), records);
    }
}

// --- calls and memory

TEST(FrameBufferState, NeitherTouchesNorShowsPassesOutsideImageSamplesAndForFailedOnes) {
    PassScene scene(threePasses);
    scene.begin();
    scene.slot(0).childResult = WHITE;
    for (const int phase : {-1, 2, 3, 4}) {
        if (phase < 0) scene.renderer.refuse(miQ_SAMPLE_PHASE);
        else scene.renderer.answer<int>(miQ_SAMPLE_PHASE, phase);
        EXPECT_EQ(scene.count(), 0u);
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_INIT));
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
    }
    scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 1);
    EXPECT_EQ(scene.slot(0).childResult, WHITE);
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT, miFALSE));
    scene.renderer.state.type = miRAY_REFLECT;
    EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
    EXPECT_EQ(scene.renderer.frameBuffers.putCount(), 0);

    std::vector<char> shorter(2 * sizeof(FrameBufferInfo)); // records of another size are no passes
    scene.renderer.setShaderState("orcaFBState", shorter.data(), static_cast<int>(shorter.size()), 2);
    EXPECT_EQ(scene.count(), 0u);
}

TEST(FrameBufferState, ReleasesItsSlotsOnlyOnceASampleHasResolvedThem) {
    for (const bool sampled : {true, false}) {
        PassScene scene(threePasses);
        scene.stateShader(miSHADERSTATE_STATE_INIT);
        if (sampled) scene.stateShader(miSHADERSTATE_SAMPLE_INIT);
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_STATE_EXIT));
        for (const char* key : {"orcaPassState", "orcaFBState"})
            EXPECT_EQ(scene.renderer.shaderState(key), nullptr);
        // A state without samples keeps them: known, and meant.
        EXPECT_EQ(scene.renderer.memory.allocationsHeld(), sampled ? 0 : 1);
    }
    PassScene empty({});
    EXPECT_TRUE(empty.stateShader(miSHADERSTATE_STATE_INIT));
    EXPECT_EQ(empty.renderer.memory.allocationsHeld(), 0);
}

TEST(StateShaders, SaySoWhenTheyAreNotInstalledAsSuch) {
    struct {
        void (*init)(miState*, void*, miBoolean*);
        miBoolean (*call)(void*, miState*, void*, miShader_state_arg*);
        const char *complaint, *opcode;
    } const shaders[] = {{orcaFrameBufferState_init, orcaFrameBufferState,
                          "orcaFrameBufferState(): Not invoked as state shader.\nCould be a version "
                          "mismatch. Re-export the .mi",
                          "vela_state(): Invoked with invalid opcode."},
                         {orcaFrameBufferInit_init, orcaFrameBufferInit,
                          "orcaFrameBufferInit(): Not invoked as state shader.\nCould be a version mismatch. "
                          "Re-export the .mi",
                          "orcaFrameBufferInit(): Invoked with invalid opcode."}};
    for (const auto& [init, call, complaint, opcode] : shaders) {
        ScriptedRenderer renderer;
        miBoolean initRequired = miTRUE;
        miShader_state_arg argument{4, miTRUE};
        for (const int type : {miSHADER_STATE, miSHADER_LENS}) {
            renderer.answer<int>(miQ_FUNC_CALLTYPE, type);
            init(&renderer.state, nullptr, &initRequired);
            EXPECT_FALSE(initRequired);
        }
        EXPECT_FALSE(call(nullptr, &renderer.state, nullptr, &argument));
        EXPECT_EQ(renderer.log, (std::vector<ScriptedMessage>{{'e', complaint}, {'w', opcode}}));
    }
}

// --- writing the frame buffers

TEST(FrameBufferState, WritesPositiveAlphaAsOneExceptForVolumesAndAddsUpTheRasterizersHits) {
    const std::vector<ScenePass> passes{{PASS_DIFFUSE, "diffuse"},
                                        {PASS_LIGHT_VOLUME, "lightVolume"},
                                        {PASS_SCENE_VOLUME, "sceneVolume"},
                                        {PASS_OBJECT_VOLUME, "objectVolume"},
                                        {PASS_REFLECTION, "reflection"}};
    constexpr miColor faint{0.1f, 0.2f, 0.3f, 0.3f};
    struct {
        char scanline;
        miCBoolean composes;
        bool adds;
    } const cases[] = {{1, 0, false}, {'r', 0, false}, {1, 1, false}, {'r', 1, true}};
    for (const auto& c : cases) {
        PassScene scene(passes);
        scene.begin();
        scene.renderer.options.scanline = c.scanline;
        scene.renderer.state.rast_compose = c.composes;
        for (int i = 0; i < 5; ++i) {
            scene.slot(i).childResult = faint;
            if (i == 4) scene.slot(i).childResult.a = 0.0f;
            scene.renderer.frameBuffers.value(i + 1) = scene.slot(i).childResult;
        }
        EXPECT_TRUE(scene.stateShader(miSHADERSTATE_SAMPLE_EXIT));
        const float times = c.adds ? 2.0f : 1.0f;
        const float alphas[] = {1.0f, 0.3f * times, 0.3f * times, 0.3f * times, 0.0f};
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(scene.renderer.frameBuffers.value(i + 1),
                      (miColor{0.1f * times, 0.2f * times, 0.3f * times, alphas[i]}))
                << i;
        EXPECT_EQ(scene.renderer.callCount("mi_fb_get") > 0, c.adds);
    }
}

} // namespace

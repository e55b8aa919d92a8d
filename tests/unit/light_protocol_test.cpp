// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaLightProtocol.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr miColor light{0.8f, 0.6f, 0.4f, 0.7f};
constexpr miColor shadowColor{0.1f, 0.0f, 0.2f, 0.3f};
constexpr miColor touched{-7.0f, -7.0f, -7.0f, -7.0f};
constexpr miColor opaqueBlack{0.0f, 0.0f, 0.0f, 1.0f};

/// Five records with one kind of light wish each, as the light protocol sees them.
class LightProtocol : public ::testing::Test {
protected:
    enum Record { excluded, unshadowed, shadowOnly, shadowed, freeOfLinks };
    PassScene scene{{{PASS_DIFFUSE, "a"},
                     {PASS_DIFFUSE, "b"},
                     {PASS_DIFFUSE, "c"},
                     {PASS_DIFFUSE, "d"},
                     {PASS_DIFFUSE, "e"}}};
    ScriptedRenderer& renderer = scene.renderer;
    miState& state = renderer.state;
    FrameBufferInfo* records = nullptr;
    static constexpr unsigned count = 5;

    void SetUp() override {
        scene.begin();
        records = scene.records();
        records[excluded].flags = FB_SHADOWED;
        records[unshadowed].flags = FB_LIGHT_CONTRIBUTES;
        records[shadowOnly].flags = FB_LIGHT_CONTRIBUTES | FB_SHADOWED | FB_SHADOW_ONLY;
        records[shadowed].flags = FB_LIGHT_CONTRIBUTES | FB_SHADOWED;
        records[freeOfLinks].flags = FB_LIGHT_CONTRIBUTES | FB_SHADOWED | FB_IGNORE_OBJECT_LINKS;
        for (unsigned i = 0; i < count; ++i) records[i].lightColor = records[i].shadowTransmission = touched;
    }
    void TearDown() override { EXPECT_EQ(renderer.pinsHeld(), 0); }

    std::vector<bool> contributing() const {
        std::vector<bool> all;
        for (unsigned i = 0; i < count; ++i) all.push_back(records[i].flags & FB_LIGHT_CONTRIBUTES);
        return all;
    }
    /// Light that passes transmission t, alpha 1.
    static miColor arriving(const miColor& t) {
        return {(1 - t.r) * shadowColor.r + t.r * light.r, (1 - t.g) * shadowColor.g + t.g * light.g,
                (1 - t.b) * shadowColor.b + t.b * light.b, 1.0f};
    }
    static miColor missing(const miColor& there) {
        return {light.r - there.r, light.g - there.g, light.b - there.b, 1.0f};
    }
};

// --- which records a light feeds

TEST_F(LightProtocol, ALightFeedsTheRecordsThatItsMaskAdmits) {
    const std::vector<bool> all(count, true);
    const struct {
        miTag instance;
        std::vector<bool> contributes;
    } cases[] = {
        {renderer.database.addMaskedInstance("50"), {true, false, true, false, false}},
        {renderer.database.addMaskedInstance("0f"), {false, false, false, false, true}},
        {renderer.database.addMaskedInstance(""), all},
        {renderer.database.addInstance(), all},
        {renderer.database.addInstance(0, renderer.database.addUserData({0})), all},
        {renderer.database.addInstance(0, renderer.database.addUserData({9999})),
         all},                                         // a string nobody knows
        {renderer.database.addInstance(0, 9999), all}, // user data that the renderer does not know
        {9999, all},                                   // nor the instance
    };
    for (const auto& [instance, contributes] : cases) {
        records[0].flags |= FB_LIGHT_SETUP_PENDING;
        state.light_instance = instance;
        setupLightContributions(count, records, &state);
        EXPECT_EQ(contributing(), contributes) << "instance " << instance;
        EXPECT_FALSE(records[0].flags & FB_LIGHT_SETUP_PENDING);
        EXPECT_EQ(renderer.pinsHeld(), 0);
    }
    EXPECT_TRUE(renderer.log.empty());
}

TEST_F(LightProtocol, OutsideALightShaderContributionsAreAnErrorAndStayAsTheyAre) {
    const std::vector<bool> before = contributing();
    records[0].flags |= FB_LIGHT_SETUP_PENDING;
    setupLightContributions(count, records, &state);
    EXPECT_EQ(renderer.messagesOf('e'),
              std::vector<std::string>{"setupLightContributions was called outside of a light shader."});
    EXPECT_EQ(contributing(), before);
    EXPECT_TRUE(records[0].flags & FB_LIGHT_SETUP_PENDING);
}

TEST_F(LightProtocol, PinsComeBackWhenTheRendererThrows) {
    state.light_instance = state.instance = renderer.database.addMaskedInstance("f");
    for (const int failing : {2, 3}) { // the query behind the instance, the access of the string
        int calls = 0;
        renderer.onCall = [&](const char*) {
            if (++calls == failing) throw std::runtime_error("foreign");
        };
        EXPECT_THROW(setupLightContributions(count, records, &state), std::runtime_error);
        EXPECT_EQ(renderer.pinsHeld(), 0);
    }
}

TEST_F(LightProtocol, ForeignLightsGetTheirReturnedColourUntilOneOfOursHasRun) {
    const miTag host = renderer.database.addMaskedInstance("60");
    const miTag ours = renderer.database.addMaskedInstance("10");
    state.light_instance = 77;

    sampleLightBegin(count, records);
    handleNonOrcaLights(count, records, &light, host, &state);
    EXPECT_EQ(state.light_instance, 77u);
    EXPECT_EQ(records[0].lightColor, BLACK);
    EXPECT_EQ(records[1].lightColor, light);
    EXPECT_EQ(records[2].lightColor, light);
    EXPECT_EQ(records[3].lightColor, BLACK);
    EXPECT_TRUE(records[0].flags & FB_LIGHT_SETUP_PENDING); // so the next foreign light is handled too
    const miColor second{0.1f, 0.1f, 0.1f, 1.0f};
    handleNonOrcaLights(count, records, &second, host, &state);
    EXPECT_EQ(records[1].lightColor, second);

    state.light_instance = ours;
    setupLightContributions(count, records, &state);
    setLightIrradiance(count, records, &light);
    handleNonOrcaLights(count, records, &second, ours, &state);
    EXPECT_EQ(records[0].lightColor, (miColor{0.8f, 0.6f, 0.4f, 1.0f}));
    handleNonOrcaLights(count, records, &second, host, &state);
    EXPECT_EQ(records[1].lightColor, opaqueBlack); // what our light left

    sampleLightBegin(count, records);
    handleNonOrcaLights(count, records, &second, host, &state);
    EXPECT_EQ(records[1].lightColor, second);
}

// --- what a light sample delivers

TEST_F(LightProtocol, WithoutShadowsEachRecordGetsTheLightAndShadowPassesNothing) {
    setLightIrradiance(count, records, &light);
    for (unsigned i = 0; i < count; ++i) {
        EXPECT_EQ(records[i].lightColor,
                  i == excluded || i == shadowOnly ? opaqueBlack : (miColor{0.8f, 0.6f, 0.4f, 1.0f}));
        EXPECT_EQ(records[i].shadowTransmission, WHITE);
    }
}

struct ShadowCase {
    bool blocked, uniform;
};
class ShadowRay : public LightProtocol, public ::testing::WithParamInterface<ShadowCase> {};

TEST_P(ShadowRay, DeliversByWhatEachRecordAsksFor) {
    const auto [blocked, uniform] = GetParam();
    constexpr miColor whole{0.5f, 0.25f, 1.0f, 0.0f};
    constexpr miColor own{0.0f, 0.5f, 0.75f, 0.5f};
    renderer.traceShadow = [&, blocked = blocked](miColor* result, miState*) {
        EXPECT_EQ(*result, WHITE);
        for (const int i : {unshadowed, shadowOnly, shadowed}) {
            EXPECT_EQ(records[i].shadowTransmission, WHITE);
            records[i].shadowTransmission = own;
        }
        EXPECT_EQ(records[excluded].shadowTransmission, touched);
        *result = whole;
        return miBoolean{!blocked};
    };
    miColor result = touched;
    EXPECT_EQ(traceShadow(count, records, &result, &light, &shadowColor, uniform, &state), !blocked);
    EXPECT_EQ(result, whole);

    miColor there = arriving(own);
    if (uniform)
        there = blocked ? miColor{shadowColor.r, shadowColor.g, shadowColor.b, 1.0f} : arriving(whole);
    EXPECT_EQ(records[excluded].lightColor, opaqueBlack);
    EXPECT_EQ(records[unshadowed].lightColor, (miColor{light.r, light.g, light.b, 1.0f}));
    EXPECT_EQ(records[shadowOnly].lightColor, missing(there));
    EXPECT_EQ(records[shadowed].lightColor, there);
}
INSTANTIATE_TEST_SUITE_P(Cases, ShadowRay,
                         ::testing::Values(ShadowCase{false, false}, ShadowCase{false, true},
                                           ShadowCase{true, false}, ShadowCase{true, true}));

TEST_F(LightProtocol, SeveralShadowRaysAreAveragedWhateverARecordSaysOfShadows) {
    const miColor transmissions[] = {{1.0f, 0.5f, 0.0f, 1.0f}, {0.0f, 0.5f, 0.5f, 0.0f}};
    const miColor mean{0.5f, 0.5f, 0.25f, 0.5f};
    int ray = 0;
    renderer.traceShadow = [&](miColor*, miState*) {
        for (unsigned i = 0; i < count; ++i) records[i].shadowTransmission = transmissions[ray];
        return miBoolean{ray++ == 0};
    };
    miColor result{};
    traceShadowAccumulateBegin(count, records);
    EXPECT_TRUE(traceShadowAccumulate(count, records, &result, &state));
    EXPECT_FALSE(traceShadowAccumulate(count, records, &result, &state));
    traceShadowAccumulateEnd(count, records, 2, &light, &shadowColor, &state);

    EXPECT_EQ(records[excluded].lightColor, opaqueBlack);
    EXPECT_EQ(records[excluded].shadowAccum, BLACK);
    EXPECT_EQ(records[unshadowed].lightColor, arriving(mean));
    EXPECT_EQ(records[shadowed].lightColor, arriving(mean));
    EXPECT_EQ(records[shadowOnly].lightColor, missing(arriving(mean)));
    EXPECT_EQ(records[shadowed].shadowTransmission, mean);

    traceShadowAccumulateEnd(count, records, 0, &light, &shadowColor, &state);
    EXPECT_EQ(records[shadowed].shadowTransmission, (miColor{1.0f, 1.0f, 0.5f, 1.0f}));
}

// --- occluders

TEST_F(LightProtocol, AnOccluderDimsTheShadowedRecordsThatItsMaskAdmits) {
    constexpr miColor half{0.5f, 0.5f, 0.5f, 0.25f};
    const auto after = [&](miTag occluder, const miColor& transparency) {
        for (unsigned i = 0; i < count; ++i) records[i].shadowTransmission = WHITE;
        state.instance = occluder;
        return applyShadowTransparencyToFrameBuffers(count, records, &transparency, &state);
    };
    for (const char* mask : {"f1", ""}) {
        EXPECT_TRUE(after(renderer.database.addMaskedInstance(mask), half));
        EXPECT_EQ(records[excluded].shadowTransmission, WHITE);
        EXPECT_EQ(records[unshadowed].shadowTransmission, WHITE);
        for (const int i : {shadowOnly, shadowed, freeOfLinks})
            EXPECT_EQ(records[i].shadowTransmission, half) << mask;
    }
    // Excluded by the mask, a record keeps its light and keeps the ray going; one that ignores links is
    // dimmed anyway.
    EXPECT_TRUE(after(renderer.database.addMaskedInstance("00"), BLACK));
    EXPECT_EQ(records[shadowed].shadowTransmission, WHITE);
    EXPECT_EQ(records[freeOfLinks].shadowTransmission, BLACK);

    // The ray goes on exactly while some shadowed record has a channel of at least 1e-5 left.
    EXPECT_FALSE(after(miNULLTAG, {0.9e-5f, 0.9e-5f, 0.9e-5f, 1.0f}));
    EXPECT_TRUE(after(miNULLTAG, {0.0f, 0.0f, 2e-5f, 0.0f}));
    for (const int i : {shadowOnly, shadowed, freeOfLinks})
        records[i].flags &= ~unsigned{FB_LIGHT_CONTRIBUTES};
    EXPECT_FALSE(after(miNULLTAG, WHITE)); // nobody asks
}

TEST_F(LightProtocol, AnOccludersMaskIsLookedUpOnceAtMost) {
    state.instance = renderer.database.addMaskedInstance("ff");
    renderer.calls.clear();
    applyShadowTransparencyToFrameBuffers(count, records, &WHITE, &state);
    EXPECT_EQ(renderer.callCount("mi_db_access"), 2); // the instance, its string
    for (unsigned i = 0; i < count; ++i) records[i].flags &= ~unsigned{FB_SHADOWED};
    renderer.calls.clear();
    applyShadowTransparencyToFrameBuffers(count, records, &WHITE, &state);
    EXPECT_TRUE(renderer.calls.empty());
}

// --- the loop's end

struct LoopEndCase {
    const char* what;
    int mode;
    unsigned char useScale;
    int samples;
    float expected; ///< level result that started as 10, with 8 gathered and scale 0.5
};
class LightLoopEnd : public LightProtocol, public ::testing::WithParamInterface<LoopEndCase> {};

TEST_P(LightLoopEnd, CombinesTheMeanOfWhatWasGathered) {
    const LoopEndCase& end = GetParam();
    sampleLightBegin(count, records);
    EXPECT_TRUE(records[0].flags & FB_IN_LIGHT_LOOP);
    EXPECT_FALSE(records[1].flags & (FB_IN_LIGHT_LOOP | FB_LIGHT_SETUP_PENDING));
    for (unsigned i = 0; i < count; ++i) {
        EXPECT_EQ(records[i].lightAccum, BLACK);
        records[i].lightAccum = {8.0f, 8.0f, 8.0f, 8.0f};
        records[i].levelSlots[3].levelResult = {10.0f, 10.0f, 10.0f, 10.0f};
    }
    records[shadowed].levelSlots[3].levelMode = 1;
    records[shadowOnly].levelSlots[3].levelMode = 2;
    state.reflection_level = 1;
    state.refraction_level = 2;
    const float scale = 0.5f;
    sampleLightEnd(&state, count, records, end.samples, &end.mode, &end.useScale, &scale);

    EXPECT_FALSE(records[0].flags & FB_IN_LIGHT_LOOP);
    const miColor expected{end.expected, end.expected, end.expected, end.expected};
    EXPECT_EQ(records[unshadowed].levelSlots[3].levelResult, expected);
    EXPECT_EQ(records[shadowOnly].levelSlots[3].levelResult, expected);
    EXPECT_EQ(records[shadowed].levelSlots[3].levelResult.r, 10.0f); // closed
    EXPECT_EQ(records[unshadowed].levelSlots[2].levelResult, BLACK);

    state.type = miRAY_ENVIRONMENT;
    sampleLightEnd(&state, count, records, end.samples, &end.mode, &end.useScale, &scale);
    EXPECT_EQ(records[unshadowed].levelSlots[3].levelResult, expected);
}
INSTANTIATE_TEST_SUITE_P(
    Modes, LightLoopEnd,
    ::testing::Values(LoopEndCase{"none", 0, 0, 4, 10.0f}, LoopEndCase{"add", 1, 0, 4, 12.0f},
                      LoopEndCase{"multiply", 2, 0, 4, 20.0f}, LoopEndCase{"replace", 3, 0, 4, 2.0f},
                      LoopEndCase{"any other adds", -5, 0, 4, 12.0f}, LoopEndCase{"scaled", 3, 1, 4, 1.0f},
                      LoopEndCase{"only bit 0 scales", 3, 0xFE, 4, 2.0f},
                      LoopEndCase{"no samples", 3, 0, 0, 10.0f}, LoopEndCase{"negative", 3, 0, -1, 10.0f}),
    [](const auto& test) {
        std::string name = test.param.what;
        for (char& c : name)
            if (c == ' ') c = '_';
        return name;
    });

TEST(LightProtocolWithoutRecords, DoesNothingButTraceShadows) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    const int mode = 1;
    const unsigned char useScale = 0;
    const float scale = 1.0f;
    miColor result = touched;
    sampleLightBegin(0, nullptr);
    setupLightContributions(0, nullptr, &state);
    handleNonOrcaLights(0, nullptr, &light, 1, &state);
    setLightIrradiance(0, nullptr, &light);
    traceShadowAccumulateBegin(0, nullptr);
    traceShadowAccumulateEnd(0, nullptr, 1, &light, &shadowColor, &state);
    EXPECT_FALSE(applyShadowTransparencyToFrameBuffers(0, nullptr, &light, &state));
    sampleLightEnd(&state, 0, nullptr, 1, &mode, &useScale, &scale);
    EXPECT_TRUE(renderer.calls.empty());
    EXPECT_TRUE(renderer.log.empty());

    EXPECT_TRUE(traceShadow(0, nullptr, &result, &light, &shadowColor, false, &state));
    EXPECT_TRUE(traceShadowAccumulate(0, nullptr, &result, &state));
    EXPECT_EQ(renderer.callCount("mi_trace_shadow"), 2);
    EXPECT_EQ(result, WHITE);
}

} // namespace

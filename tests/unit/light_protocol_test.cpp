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

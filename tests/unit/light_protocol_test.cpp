// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaLightProtocol.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr miColor light{0.8f, 0.6f, 0.4f, 0.7f}, second{0.1f, 0.1f, 0.1f, 1.0f};
constexpr miColor shadowColor{0.1f, 0.0f, 0.2f, 0.3f};
constexpr miColor opaqueBlack{0.0f, 0.0f, 0.0f, 1.0f};

/// Five records, as the light protocol sees them.
class LightProtocol : public ::testing::Test {
protected:
    static constexpr unsigned count = 5;

    LightProtocol() {
        scene.begin();
        records = scene.records();
    }
    ~LightProtocol() override { EXPECT_EQ(renderer.pinsHeld(), 0); }

    PassScene scene{{{PASS_DIFFUSE, "a"},
                     {PASS_DIFFUSE, "b"},
                     {PASS_DIFFUSE, "c"},
                     {PASS_DIFFUSE, "d"},
                     {PASS_DIFFUSE, "e"}}};
    ScriptedRenderer& renderer = scene.renderer;
    miState& state = renderer.state;
    FrameBufferInfo* records = nullptr;
};

TEST_F(LightProtocol, ALightFeedsTheRecordsThatItsMaskAdmits) {
    ScriptedDatabase& database = renderer.database;
    constexpr unsigned all = 31, unknown = 9999;
    const std::pair<miTag, unsigned> cases[] = {
        {database.addMaskedInstance("50"), 5},
        {database.addMaskedInstance("0f"), 16},
        {database.addMaskedInstance(""), all},
        {database.addInstance(), all},
        {database.addInstance(0, database.addUserData({0})), all},
        {database.addInstance(0, database.addUserData({unknown})), all}, // a string nobody knows
        {database.addInstance(0, unknown), all}, // user data that the renderer does not know
        {unknown, all},                          // nor the instance
        {miNULLTAG, all},                        // no light: an error, and all stays as it is
    };
    for (const auto& [instance, contributes] : cases) {
        records[0].flags |= FB_LIGHT_SETUP_PENDING;
        state.light_instance = instance;
        setupLightContributions(count, records, &state);
        for (unsigned i = 0; i < count; ++i)
            EXPECT_EQ((records[i].flags & FB_LIGHT_CONTRIBUTES) != 0, contributes >> i & 1u) << instance;
        EXPECT_EQ((records[0].flags & FB_LIGHT_SETUP_PENDING) != 0, instance == miNULLTAG);
        EXPECT_EQ(renderer.pinsHeld(), 0);
    }
    EXPECT_EQ(renderer.log, (std::vector<ScriptedMessage>{
                                {'e', "setupLightContributions was called outside of a light shader."}}));

    state.light_instance = cases[0].first;
    for (const int failing : {2, 3}) { // the query behind the instance, the access of the string
        int calls = 0;
        renderer.onCall = [&](const char*) {
            if (++calls == failing) throw std::runtime_error("foreign");
        };
        EXPECT_THROW(setupLightContributions(count, records, &state), std::runtime_error);
    }
}

TEST_F(LightProtocol, ForeignLightsGetTheirReturnedColourUntilOneOfOursHasRun) {
    const miTag host = renderer.database.addMaskedInstance("60");
    const miTag ours = renderer.database.addMaskedInstance("10");
    state.light_instance = 77;
    sampleLightBegin(count, records);
    for (const miColor& foreign : {light, second}) { // the next one is handled too
        handleNonOrcaLights(count, records, &foreign, host, &state);
        for (unsigned i = 0; i < count; ++i)
            EXPECT_EQ(records[i].lightColor, i == 1 || i == 2 ? foreign : BLACK) << i;
    }
    EXPECT_EQ(state.light_instance, 77u);

    state.light_instance = ours;
    setupLightContributions(count, records, &state);
    setLightIrradiance(count, records, &light);
    for (const miTag after : {ours, host}) { // what our light left
        handleNonOrcaLights(count, records, &second, after, &state);
        EXPECT_EQ(records[0].lightColor, (miColor{0.8f, 0.6f, 0.4f, 1.0f}));
        EXPECT_EQ(records[1].lightColor, opaqueBlack);
    }
    sampleLightBegin(count, records);
    handleNonOrcaLights(count, records, &second, host, &state);
    EXPECT_EQ(records[1].lightColor, second);
}

TEST(LightProtocolWithoutRecords, DoesNothingButTraceShadows) {
    ScriptedRenderer renderer;
    miState& state = renderer.state;
    const int mode = 1;
    const unsigned char useScale = 0;
    const float scale = 1.0f;
    miColor result = opaqueBlack;
    sampleLightBegin(0, nullptr);
    setupLightContributions(0, nullptr, &state);
    handleNonOrcaLights(0, nullptr, &light, 1, &state);
    setLightIrradiance(0, nullptr, &light);
    traceShadowAccumulateBegin(0, nullptr);
    traceShadowAccumulateEnd(0, nullptr, 1, &light, &shadowColor, &state);
    EXPECT_FALSE(applyShadowTransparencyToFrameBuffers(0, nullptr, &light, &state));
    sampleLightEnd(&state, 0, nullptr, 1, &mode, &useScale, &scale);
    EXPECT_EQ(renderer.calls.size() + renderer.log.size(), 0u);

    EXPECT_TRUE(traceShadow(0, nullptr, &result, &light, &shadowColor, false, &state));
    EXPECT_TRUE(traceShadowAccumulate(0, nullptr, &result, &state));
    EXPECT_EQ(renderer.callCount("mi_trace_shadow"), 2);
    EXPECT_EQ(result, WHITE);
}

} // namespace

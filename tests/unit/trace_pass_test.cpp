// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaRenderPassUtilities.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(PassHandOver, ReachesTheLastSlotAndNoFurther) {
    PassScene scene({{PASS_DIFFUSE, "diffuse"}, {PASS_SPECULAR, "specular"}});
    scene.renderer.options.trace_depth = 2;
    scene.begin();
    miState& state = scene.renderer.state;
    for (int record = 0; record < 2; ++record)
        for (int level = 0; level <= 2; ++level)
            scene.slot(record, level).childResult = scene.slot(record, level).levelAux = WHITE;
    state.reflection_level = 1;
    tracePassAdd(scene.count(), scene.records(), &state, false, WHITE);
    EXPECT_EQ(scene.slot(0, 1).levelResult, WHITE);

    state.refraction_level = 1; // at the limit there is no level below, and the next slot is another record's
    tracePassInit(scene.count(), scene.records(), &state);
    tracePassAdd(scene.count(), scene.records(), &state, false, WHITE);
    EXPECT_EQ(scene.slot(0, 2).levelResult, BLACK);
    EXPECT_EQ(scene.slot(1, 0).childResult, WHITE);

    state.refraction_level = 0;
    tracePassInit(scene.count(), scene.records(), &state);
    EXPECT_EQ(scene.slot(0, 2).childResult, BLACK);
    EXPECT_EQ(scene.slot(1, 2).levelAux, BLACK);
    EXPECT_EQ(scene.slot(1, 1).childResult, WHITE);
}

TEST(NamedFrameBuffers, AreFoundByNameAndByTagAndGivenBack) {
    PassScene scene({{PASS_DIFFUSE, "diffuse"}}, {"first", "wanted"});
    ScriptedRenderer& renderer = scene.renderer;
    const miTag tag = renderer.database.addString("wanted");
    const auto wanted = static_cast<unsigned>(scene.buffer("wanted"));
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, "wanted"), wanted);
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, tag), wanted);
    EXPECT_EQ(getNonMaterialPassFrameBufferIndex(&renderer.state, 1), wanted);
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, "unknown"), 0u);
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, static_cast<const char*>(nullptr)), 0u);
    for (const miTag none : {miTag{0}, miTag{9999}})
        EXPECT_EQ(getNamedFrameBufferID(&renderer.state, none), 0u);

    scene.stateShader(miSHADERSTATE_STATE_INIT);
    renderer.onCall = [](const char* name) {
        if (std::string_view(name) == "getFramebuffers") throw std::runtime_error("foreign");
    };
    EXPECT_THROW((void)getNamedFrameBufferID(&renderer.state, tag), std::runtime_error);
    EXPECT_THROW((void)getNonMaterialPassFrameBufferIndex(&renderer.state, 0), std::runtime_error);
    EXPECT_THROW(scene.stateShader(miSHADERSTATE_SAMPLE_INIT), std::runtime_error);
    EXPECT_EQ(renderer.pinsHeld() + renderer.interfacesHeld + renderer.collectionsHeld, 0);
}

} // namespace

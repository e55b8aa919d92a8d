// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaRenderPassUtilities.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

enum class Ray { reflection, refraction };
struct HandOverCase {
    unsigned levelMode;
    unsigned flags;
    Ray ray;
    bool arrives;
};
class PassHandOver : public ::testing::TestWithParam<HandOverCase> {};

TEST_P(PassHandOver, DependsOnTheLevelsModeAndOnWhatThePassIncludes) {
    const auto& [levelMode, flags, ray, arrives] = GetParam();
    PassScene scene({{PASS_DIFFUSE, "diffuse", flags}});
    scene.begin();
    scene.slot(0).levelMode = static_cast<unsigned char>(levelMode);
    scene.slot(0).levelResult = {1.0f, 1.0f, 1.0f, 0.5f};
    scene.slot(0, 1).childResult = {0.5f, 1.0f, 2.0f, 1.0f};
    tracePassAdd(scene.count(), scene.records(), &scene.renderer.state, ray == Ray::refraction,
                 {0.5f, 0.25f, 0.5f, 0.25f});
    EXPECT_EQ(scene.slot(0).levelResult,
              arrives ? (miColor{1.25f, 1.25f, 2.0f, 0.75f}) : (miColor{1.0f, 1.0f, 1.0f, 0.5f}));
}
INSTANTIATE_TEST_SUITE_P(
    Modes, PassHandOver,
    ::testing::Values(HandOverCase{0, 0, Ray::reflection, true}, HandOverCase{2, 0, Ray::refraction, true},
                      HandOverCase{3, 0, Ray::reflection, true}, HandOverCase{1, 0, Ray::reflection, false},
                      HandOverCase{1, FB_INCLUDE_REFLECTION, Ray::reflection, true},
                      HandOverCase{1, FB_INCLUDE_REFLECTION, Ray::refraction, false},
                      HandOverCase{1, FB_INCLUDE_REFRACTION, Ray::refraction, true},
                      HandOverCase{1, FB_INCLUDE_REFRACTION, Ray::reflection, false},
                      HandOverCase{5, 0, Ray::reflection, false})); // only the low two bits count

TEST(PassHandOver, ReachesTheLastSlotAndNoFurther) {
    PassScene scene({{PASS_DIFFUSE, "diffuse"}, {PASS_SPECULAR, "specular"}});
    scene.renderer.options.trace_depth = 2;
    scene.begin();
    miState& state = scene.renderer.state;
    for (int record = 0; record < 2; ++record)
        for (int level = 0; level <= 2; ++level) scene.slot(record, level).childResult = WHITE;
    state.reflection_level = 1;
    tracePassAdd(scene.count(), scene.records(), &state, false, WHITE);
    EXPECT_EQ(scene.slot(0, 1).levelResult, WHITE);

    state.refraction_level = 1; // at the limit there is no level below, and the next slot is another record's
    tracePassInit(scene.count(), scene.records(), &state);
    tracePassAdd(scene.count(), scene.records(), &state, false, WHITE);
    EXPECT_EQ(scene.slot(0, 2).levelResult, BLACK);
    EXPECT_EQ(scene.slot(1, 0).childResult, WHITE);

    state.refraction_level = 0;
    scene.slot(1, 2).levelAux = WHITE;
    tracePassInit(scene.count(), scene.records(), &state);
    EXPECT_EQ(scene.slot(0, 2).childResult, BLACK);
    EXPECT_EQ(scene.slot(1, 2).levelAux, BLACK);
    EXPECT_EQ(scene.slot(1, 1).childResult, WHITE);
}

TEST(NamedFrameBuffers, AreFoundByNameAndByTagAndGivenBack) {
    ScriptedRenderer renderer;
    renderer.frameBuffers.add("first");
    const int wanted = renderer.frameBuffers.add("wanted");
    const miTag tag = renderer.database.addString("wanted");
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, "wanted"), static_cast<unsigned>(wanted));
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, tag), static_cast<unsigned>(wanted));
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, "unknown"), 0u);
    EXPECT_EQ(getNamedFrameBufferID(&renderer.state, static_cast<const char*>(nullptr)), 0u);
    for (const miTag none : {miTag{0}, miTag{9999}})
        EXPECT_EQ(getNamedFrameBufferID(&renderer.state, none), 0u);

    renderer.onCall = [](const char* name) {
        if (std::string_view(name) == "getFramebuffers") throw std::runtime_error("foreign");
    };
    EXPECT_THROW((void)getNamedFrameBufferID(&renderer.state, tag), std::runtime_error);
    EXPECT_EQ(renderer.pinsHeld(), 0);
    EXPECT_EQ(renderer.interfacesHeld + renderer.collectionsHeld, 0);
}

} // namespace

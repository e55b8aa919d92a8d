// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaRenderPassUtilities.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

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

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace orca::test {
namespace {

/// A mirror at 45 degrees on the camera's axis throws its rays up to a board overhead.
TEST(Mirror, ShowsWhatGeometrySaysItShows) {
    TestScene scene;
    scene.passes = {"beauty", "reflection", "incandescence"};
    scene.passFlags = {"", "\"shadowed\" on", "\"shadowed\" on"};
    scene.contents = glowing("red", "0.8 0.1 0.1") + glowing("blue", "0.1 0.1 0.8") +
                     mirror("m", 1, "\"cosinePower\" 10") + turnedCard("mirror", "m", 0, 0, 0, 3, -45) +
                     turnedCard("front", "red", 0, 4, 5, 5, 90) + turnedCard("back", "blue", 0, 4, -5, 5, 90);
    const RenderedScene picture(scene);
    // The mirror leans back: rays above its middle fall behind it and go up to the board there.
    for (int y = 0; y < 16; ++y) {
        const miColor seen = picture.pixel("main", 5, y);
        expectColor(seen, y < 8 ? miColor{0.8f, 0.1f, 0.1f, 1} : miColor{0.1f, 0.1f, 0.8f, 1}, 1e-5f);
        expectColor(picture.pixel("beauty", 5, y), seen, 1e-6f, "beauty");
        expectColor(picture.pixel("reflection", 5, y), seen, 1e-6f, "reflection");
        EXPECT_EQ(picture.pixel("incandescence", 5, y).r, 0.0f); // not of the mirror's own level
    }
}

/// Two mirrors face one another; half of the light is lost at each.
TEST(Mirror, StopsAtTheTighterOfTheLimits) {
    const struct {
        const char *limit, *traceDepth;
        int bounces;
    } cases[] = {{"\"reflectionLimit\" 0", "6 6 6", 0},
                 {"\"reflectionLimit\" 1", "6 6 6", 1},
                 {"\"reflectionLimit\" 3", "6 6 6", 3},
                 {"\"reflectionLimit\" 9", "2 6 6", 2},
                 {"\"reflectionLimit\" 9", "6 6 2", 2}};
    for (const auto& c : cases) {
        TestScene scene;
        scene.traceDepth = c.traceDepth;
        scene.passes = {"beauty"};
        scene.contents =
            mirror("front", 0.5f,
                   "\"incandescence\" 1 1 1 1, \"reflectedColor\" 0.125 0 0 1, " + std::string(c.limit)) +
            card("mirror", "front", 0, 0, 0, 8) + turnedCard("opposite", "front", 0, 0, 20, 8, 180);
        const RenderedScene picture(scene);
        miColor expected{};
        float weight = 1.0f;
        for (int i = 0; i <= c.bounces; ++i, weight *= 0.5f)
            expected = expected + miColor{weight * (1.0f + 0.5f * 0.125f), weight, weight, 0};
        expectColor(picture.middle(), expected, 1e-5f, c.limit);
        expectColor(picture.pixel("beauty", 8, 8), picture.middle(), 1e-6f, "beauty");
    }
}

} // namespace
} // namespace orca::test

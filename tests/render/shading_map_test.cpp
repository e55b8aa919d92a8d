// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace orca::test {
namespace {

/// The map is a picture of its own coordinates, so that what is seen says where it was looked up.
TEST(ShadingMaps, LookUpWhereTheShadedColourSays) {
    TestScene scene;
    scene.baseState = "\"additivePasses\" on";
    scene.passes = {"beauty"};
    scene.contents =
        "shader \"ramp\" \"velaRamp\" ( \"type\" 1, \"entries\" [ { \"position\" 0, \"value\" 0 0 0 1, "
        "\"interpolation\" 1 }, { \"position\" 1, \"value\" 1 0.5 0.25 1, \"interpolation\" 1 } ] )\n"
        "shader \"clay\" \"orcaVelaLambert\" ( \"color\" 0.5 0.5 0.5 1, \"diffuse\" 1 )\n" +
        surface(
            "toon", "orcaVelaShadingMap",
            "\"inputColor\" = \"clay.outColor\", \"mapColor\" = \"ramp\", \"uChannel\" 2, \"vChannel\" 2") +
        card("panel", "toon", 0, 0, 0, 4) + pointLight("lamp", "", 0, 0, 1);
    const RenderedScene picture(scene);
    for (int x = 0; x < 16; ++x) {
        const float from = (static_cast<float>(x) + 0.5f) / 4.0f - 2.0f;
        const float value = 0.5f / std::sqrt(1.0f + from * from + 0.125f * 0.125f);
        expectColor(picture.pixel("main", x, 8), {value, 0.5f * value, 0.25f * value, 1}, 1e-4f);
        expectColor(picture.pixel("beauty", x, 8), picture.pixel("main", x, 8), 1e-6f, "beauty");
    }
}

} // namespace
} // namespace orca::test

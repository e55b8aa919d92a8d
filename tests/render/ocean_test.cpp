// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>

namespace orca::test {
namespace {

/// A sheet of water at height 0, two units above a glowing floor, seen from ten above; `water` are
/// orcaVelaOceanShader's.
TestScene pool(const std::string& water) {
    TestScene scene;
    scene.camera = "transform 1 0 0 0 0 0 1 0 0 -1 0 0 0 0 -10 1";
    scene.contents = surface("water", "orcaVelaOceanShader", water, "1 1 1 1") +
                     glowing("ground", "0.8 0.6 0.4") + sheet("sea", "water", 0) +
                     sheet("floor", "ground", -2) +
                     directionalLight("sun", "\"useRayTraceShadows\" off", "-0.5 -1 -0.3");
    return scene;
}

/// Turned by a quarter about the upright axis: what slopes along the object's x slopes along the world's -z.
TEST(OceanShader, TakesAConnectedHeightInObjectSpaceWhereTheObjectSaysSo) {
    const struct {
        const char* data;
        miColor normal;
    } cases[] = {{"", {-0.6f, 0.8f, 0, 0}},
                 {"data \"other\" ", {-0.6f, 0.8f, 0, 0}},
                 {"data \"reference\" ", {0, 0.8f, 0.6f, 0}},
                 {"data \"both\" ", {0, 0.8f, 0.6f, 0}}};
    for (const auto& c : cases) {
        TestScene scene =
            pool("\"octaveCount\" 0, \"heightInput\" = \"slope\", \"normalBlur\" 0.5, \"displaced\" on");
        scene.contents = "shader \"slope\" \"testSlope\" ( \"slope\" 0.75 0 0 )\n"
                         "data \"reference\" \"orcaReferenceObject\" ( ) end data\n"
                         "data \"both\" \"orcaGatherSettings\" ( ) data \"reference\" end data\n"
                         "data \"other\" \"orcaGatherSettings\" ( ) end data\n" +
                         scene.contents;
        const std::string object = "object \"sea_mesh\" ", instance = "instance \"sea\" \"sea_mesh\" ";
        scene.contents.insert(scene.contents.find(object) + object.size(), c.data);
        scene.contents.insert(scene.contents.find(instance) + instance.size(),
                              "transform 0 0 1 0 0 1 0 0 -1 0 0 0 3 0 2 1 ");
        scene.passes = {"normal"};
        const RenderedScene picture(scene);
        expectColor(picture.pixel("normal", 6, 10), c.normal, 1e-4f, c.data);
    }
}

} // namespace
} // namespace orca::test

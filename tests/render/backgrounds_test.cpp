// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace orca::test {
namespace {

float difference(const miColor& a, const miColor& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}
void expectNear(const miColor& a, const miColor& b, float tolerance, const std::string& what) {
    EXPECT_LE(difference(a, b), tolerance)
        << what << ": " << a.r << ' ' << a.g << ' ' << a.b << ", not " << b.r << ' ' << b.g << ' ' << b.b;
}
miColor mixed(const miColor& a, const miColor& b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, 1};
}

constexpr int texels = 8;

/// The source picture: something else in every texel, with alphas from 0 to 1.
miColor source(int x, int y) {
    const auto byte = [](int v) { return static_cast<float>(v & 255) / 255.0f; };
    return {byte(x * 36), byte(y * 33), byte(x * 17 + y * 19), byte(x == 7 ? 255 : x * 30 + y * 5)};
}

std::string sourceTexture() {
    std::string text = fmt::format("color texture \"source\" [ {0} {0} ]\n'", texels);
    for (int y = 0; y < texels; ++y)
        for (int x = 0; x < texels; ++x) {
            const miColor c = source(x, y);
            for (const float v : {c.r, c.g, c.b, c.a}) text += fmt::format("{:02x}", std::lround(v * 255));
        }
    return text + "'\n";
}

/// A plane of half size 2 across the orthographic view, with texture coordinates.
std::string plane(const std::string& name, const std::string& parameters, float z) {
    return fmt::format(
        "material \"{0} material\" \"orcaVelaImagePlane\" ( \"imageTexture\" \"source\", {1} ) end material\n"
        "object \"{0}_mesh\" visible on trace on shadow off group\n"
        "-2 -2 0 2 -2 0 2 2 0 -2 2 0  0 0 0 1 0 0 1 1 0 0 1 0\n"
        "v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7\np \"{0} material\" 0 1 2 3\nend group end object\n"
        "instance \"{0}\" \"{0}_mesh\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 {2} 1 end instance\n",
        name, parameters, -z);
}

/// A glowing card's colour fills the view.
std::string glowing(const std::string& name, const std::string& color, float x, float z, float half) {
    return lambert(name + "_m", "\"color\" 0 0 0 1, \"incandescence\" " + color + " 1") +
           card(name, name + "_m", x, 0, z, half);
}

template <class Expected>
void expectPicture(const TestScene& scene, const Expected& expected, const std::string& what) {
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const miColor seen = picture.pixel("main", x, y);
            const std::string where = fmt::format("{} at {} {}", what, x, y);
            expectNear(seen, expected(source(x / 2, y / 2), x, y), 1e-5f, where);
            expectNear(picture.pixel("beauty", x, y), seen, 1e-5f, where + ", beauty");
        }
    EXPECT_EQ(picture.pixel("beauty", 3, 3).r, picture.pixel("main", 3, 3).r);
}

TEST(ImagePlanes, ShowEveryTexelBehindTheSceneInEveryMode) {
    const miColor sky{0.1f, 0.2f, 0.3f, 1};
    const struct {
        int mode;
        miColor (*expected)(const miColor&);
    } modes[] = {
        {0,
         [](const miColor&) {
             return miColor{0, 0, 0, 0};
         }},
        {2,
         [](const miColor& c) {
             return miColor{c.r, c.g, c.b, 1};
         }},
        {3, [](const miColor& c) { return c; }},
        {4,
         [](const miColor& c) {
             const float l = 0.30f * c.r + 0.59f * c.g + 0.11f * c.b;
             return miColor{l, l, l, c.a};
         }},
        {5,
         [](const miColor& c) {
             return miColor{c.a, c.a, c.a, c.a};
         }},
    };
    for (const auto& mode : modes) {
        TestScene scene;
        scene.passes = {"beauty", "incandescence", "beautyNoReflectionRefraction"};
        scene.cameraStatements = "environment \"velaRamp\" ( \"entries\" [ { \"value\" 0.1 0.2 0.3 1 } ] )\n";
        scene.contents = sourceTexture() + plane("plate", fmt::format("\"displayMode\" {}", mode.mode), -5) +
                         glowing("thing", "0.9 0.5 0.1", 0, 0, 0.5f);
        scene.members = {"plate", "thing"};
        expectPicture(
            scene,
            [&](const miColor& texel, int x, int y) {
                const bool covered = x >= 6 && x < 10 && y >= 6 && y < 10;
                const miColor shown = mode.expected(texel);
                return covered ? miColor{0.9f, 0.5f, 0.1f, 1} : mixed(sky, shown, shown.a);
            },
            "mode " + std::to_string(mode.mode));
    }
}

/// In front of the scene the passes of what is behind are dimmed with the picture.
TEST(ImagePlanes, LieOverTheSceneWithGainAndOffset) {
    TestScene scene;
    scene.passes = {"beauty", "incandescence"};
    scene.contents =
        sourceTexture() +
        plane("front", "\"colorGain\" 0.5 2 1 1, \"colorOffset\" 0.1 0 0.2 0, \"alphaGain\" 0.5", 5) +
        plane("hidden", "\"displayMode\" 0", 6) + glowing("wall", "0.9 0.5 0.1", 0, 0, 4);
    scene.members = {"front", "hidden", "wall"};
    const miColor wall{0.9f, 0.5f, 0.1f, 1};
    const auto over = [&](const miColor& c, int, int) {
        return mixed(wall, {0.5f * c.r + 0.1f, 2 * c.g, c.b + 0.2f, 1}, 0.5f * c.a);
    };
    expectPicture(scene, over, "traced");
    const RenderedScene picture(scene.text());
    expectNear(picture.pixel("incandescence", 4, 4), mixed(wall, {}, 0.5f * source(2, 2).a), 1e-5f, "pass");

    scene.extraOptions = "scanline rapid"; // the renderer composites the layers itself
    const RenderedScene composited(scene.text());
    for (int i = 0; i < 16; ++i)
        expectNear(composited.pixel("main", i, i), over(source(i / 2, i / 2), i, i), 1e-5f, "composited");
}

TEST(ImagePlanes, AreSeenInMirrorsOnlyWhenTheyAskForIt) {
    for (const int visible : {0, 1}) {
        TestScene scene;
        scene.passes = {"beauty", "reflection"};
        // The mirror looks back past the eye, at a plane before a glowing wall.
        scene.contents =
            sourceTexture() +
            plane("plate", fmt::format("\"displayMode\" 2, \"reflectionVisible\" {}", visible), 15) +
            glowing("wall", "0.9 0.5 0.1", 0, 20, 4) +
            surface("mirror", "orcaVelaPhong",
                    "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 0.5") +
            card("glass", "mirror", 0, 0, 0, 4);
        scene.members = {"plate", "wall", "glass"};
        expectPicture(
            scene,
            [&](const miColor& c, int, int) {
                return visible ? miColor{c.r * 0.5f, c.g * 0.5f, c.b * 0.5f, 1}
                               : miColor{0.45f, 0.25f, 0.05f, 1};
            },
            "visible " + std::to_string(visible));
    }
}

/// A floor that stands in for the plate, seen straight from above, with a card over it that lets a quarter of
/// the light through, and a plate behind it.
TestScene plateScene(const std::string& standIn, const std::string& things,
                     std::vector<std::string> members) {
    TestScene scene;
    scene.passes = {"beauty", "reflection", "custom", "beautyNoReflectionRefraction"};
    scene.passFlags = {"", "\"shadowed\" on", "\"shadowed\" on", "\"shadowed\" on"}; // the level that is seen
    scene.traceDepth = "3 3 4";
    scene.beforeCamera =
        sourceTexture() + plane("plate", "\"displayMode\" 2", -5) +
        "data \"planes\" \"orcaImagePlanes\" ( \"planes\" [ \"plate\" ] )\ndata \"cam:fbdata\" end data\n";
    scene.cameraStatements = "data \"planes\"\n";
    scene.contents = surface("ground", "orcaVelaUseBackground", "\"shadowBuffer\" 0, " + standIn) +
                     card("floor", "ground", 0, 0, 0, 4) + glowing("between", "5 5 5", 0, -2, 1) + things;
    scene.members = {"plate", "floor", "between"};
    scene.members.insert(scene.members.end(), members.begin(), members.end());
    return scene;
}

TEST(UseBackgrounds, LeaveThePlateAsItIsWhereNothingFallsOnIt) {
    const TestScene scene =
        plateScene("\"reflectivity\" 0.5", directionalLight("sun", "", "-0.5 0 -1"), {"sun_inst"});
    expectPicture(
        scene, [](const miColor& c, int, int) { return c; }, "plate");
}

TEST(UseBackgrounds, HoldShadowAndReflectionApart) {
    const TestScene scene = plateScene(
        "\"reflectivity\" 0.25, \"specularColor\" 1 0.5 1 1, \"ambientColor\" 0.2 0.2 0.2 1",
        directionalLight("sun", "", "-1 0 -1") + lambert("film", "\"color\" 0 0 0 1", "0.25 0.5 0.25 1") +
            card("occluder", "film", 3, 0, 3, 0.5f) +
            // Faces the floor; the eye, between it and the floor, sees it in the floor alone.
            glowing("lid", "0.8 0.6 0.4", 0, 30, 1),
        {"sun_inst", "occluder", "lid"});
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const float lit = std::sqrt(0.5f);
    int shadowed = 0, reflecting = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const std::string where = fmt::format("{} {}", x, y);
            const miColor plate = source(x / 2, y / 2);
            const miColor taken = picture.pixel("custom", x, y);
            const miColor factor{1 - taken.r, 1 - taken.g, 1 - taken.b, 1};
            const miColor reflection = picture.pixel("reflection", x, y);
            const bool inShadow =
                x >= 6 && x < 10 && y >= 6 && y < 10; // the card's place, moved by its height
            const bool inLid = x >= 4 && x < 12 && y >= 4 && y < 12;
            const auto left = [&](float t) { return inShadow ? (t * lit + 0.2f) / (lit + 0.2f) : 1.0f; };
            expectNear(factor, {left(0.25f), left(0.5f), left(0.25f), 1}, 1e-5f, where);
            expectNear(reflection, inLid ? miColor{0.2f, 0.075f, 0.1f, 1} : miColor{}, 1e-5f, where);
            const miColor composited{plate.r * factor.r + reflection.r, plate.g * factor.g + reflection.g,
                                     plate.b * factor.b + reflection.b, 1};
            expectNear(picture.pixel("main", x, y), composited, 1e-5f, where);
            expectNear(picture.pixel("beauty", x, y), composited, 1e-5f, where);
            const miColor dry = picture.pixel("beautyNoReflectionRefraction", x, y);
            expectNear(dry, {plate.r * factor.r, plate.g * factor.g, plate.b * factor.b, 1}, 1e-5f, where);
            shadowed += inShadow;
            reflecting += inLid;
        }
    EXPECT_EQ(shadowed, 16);
    EXPECT_EQ(reflecting, 64);
}

/// Two things of the plate, one above the other: the plate has the shadow of the one on the other already.
TEST(UseBackgrounds, CastNoShadowsOnOneAnotherButOnThings) {
    const std::string shadow =
        "shadow \"orcaVelaShadow\" ( \"transparency\" = \"ground_surface.outTransparency\" )";
    const TestScene scene = plateScene("\"reflectivity\" 1",
                                       directionalLight("sun", "", "-1 0 -1") +
                                           "material \"table\" \"orcaVelaShadingEngine\" ( \"surfaceShader\" "
                                           "\"ground_surface\" ) " +
                                           shadow + " end material\n" + card("top", "table", 3, 0, 3, 0.5f),
                                       {"sun_inst", "top"});
    expectPicture(
        scene, [](const miColor& c, int, int) { return c; }, "stand-ins");

    TestScene onThing = scene;
    onThing.contents +=
        lambert("clay", "\"color\" 1 1 1 1, \"diffuse\" 1") + card("thing", "clay", 0, 0, 0.01f, 4);
    onThing.members.push_back("thing");
    const RenderedScene picture(onThing.text());
    expectNear(picture.pixel("main", 8, 8), {0, 0, 0, 1}, 1e-5f, "shadow");
    EXPECT_NEAR(picture.pixel("main", 2, 8).r, std::sqrt(0.5f), 1e-4f);
}

/// Without a plate the environment is the background; a mirror shows the plate's ground where the camera
/// would see it.
TEST(UseBackgrounds, FallBackOnTheEnvironment) {
    TestScene scene;
    scene.passes = {"beauty"};
    scene.cameraStatements = "environment \"velaRamp\" ( \"entries\" [ { \"value\" 0.1 0.2 0.3 1 } ] )\n";
    scene.contents = sourceTexture() + surface("ground", "orcaVelaUseBackground", "") +
                     card("floor", "ground", 0, 0, 0, 1) + directionalLight("sun", "", "-1 0 -1");
    scene.members = {"floor", "sun_inst"};
    expectPicture(
        scene,
        [](const miColor&, int, int) {
            return miColor{0.1f, 0.2f, 0.3f, 1};
        },
        "sky");
}

/// A leaning mirror on a floor of the plate: what it shows of the floor is the plate as the camera sees it
/// there.
TEST(UseBackgrounds, ShowInAMirrorWhatTheCameraWouldSeeThere) {
    TestScene scene =
        plateScene("",
                   surface("mirror", "orcaVelaPhong",
                           "\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" 0.5") +
                       "object \"glass_mesh\" visible trace group\n1 -3 0.5 1.5 -3 2.5 1.5 3 2.5 1 3 0.5\n"
                       "v 0 v 1 v 2 v 3\np \"mirror\" 0 3 2 1\nend group end object\n"
                       "instance \"glass\" \"glass_mesh\" end instance\n",
                   {"glass"});
    scene.perspective = true;
    const RenderedScene picture(scene.text());
    ASSERT_TRUE(picture.complaints().empty()) << picture.complaints().front();
    const float length = std::sqrt(17.0f);
    const float nx = -4 / length, nz = 1 / length; // across (0.5, 0, 2)
    int seen = 0;
    for (int x = 0; x < 16; ++x) {
        const float dx = ((static_cast<float>(x) + 0.5f) / 8 - 1) * 0.2f, dy = 0.5f / 8 * 0.2f, dz = -1;
        // Eye at (0, 0, 10), mirror through (1, 0, 0.5).
        const float t = ((1 - 0) * nx + (0.5f - 10) * nz) / (dx * nx + dz * nz);
        const float mx = t * dx, my = t * dy, mz = 10 + t * dz;
        if (mz < 0.6f || mz > 2.4f) continue;
        const float twice = 2 * (dx * nx + dz * nz);
        const float rx = dx - twice * nx, rz = dz - twice * nz;
        const float fx = mx - mz / rz * rx, fy = my - mz / rz * dy;
        const auto texel = [](float floor) {
            return static_cast<int>(std::floor((floor * 1.5f / 2 + 1) / 2 * texels));
        };
        const miColor c = source(texel(fx), texel(fy));
        expectNear(picture.pixel("main", x, 8), {c.r * 0.5f, c.g * 0.5f, c.b * 0.5f, 1}, 1e-5f,
                   std::to_string(x));
        ++seen;
    }
    EXPECT_GE(seen, 1);
}

} // namespace
} // namespace orca::test

// SPDX-License-Identifier: Apache-2.0
#include "image/light_map_file.h"
#include "image/textures.h"
#include "rendered_scene.h"
#include "scene/elements/texture_element.h"
#include "scene_parts.h"
#include "temporary_directory.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

using namespace orca;
using namespace orca::test;

constexpr int size = 16; // texels and pixels, each way
const std::string target = fmt::format("writable color texture \"map\" [ {0} {0} ]\n", size);

std::string bake(const std::string& parameters, const std::string& texture = "map") {
    return fmt::format("lightmap \"velaBake\" ( \"texture\" \"{}\", {} )", texture, parameters);
}

/// A white Lambert material "m" with a light map.
std::string baked(const std::string& list) {
    const std::string plain = lambert("m", "\"color\" 1 1 1 1, \"diffuse\" 1");
    const std::size_t end = plain.rfind("end material");
    return plain.substr(0, end) + list + "\n" + plain.substr(end);
}

/// A square of half size 2 about the origin facing +z, u along x and v along y over `from` to `to`.
std::string square(const std::string& name, float from = 0, float to = 1, const std::string& placed = "") {
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                       "-2 -2 0 2 -2 0 2 2 0 -2 2 0  {1} {1} 0 {2} {1} 0 {2} {2} 0 {1} {2} 0\n"
                       "v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7\np \"m\" 0 1 2 3\nend group end object\n"
                       "instance \"{0}\" \"{0}_mesh\" {3} end instance\n",
                       name, from, to, placed);
}

TestScene sceneOf(const std::string& contents) {
    TestScene scene;
    scene.width = scene.height = size;
    scene.contents = contents;
    return scene;
}

miColor texel(RenderedScene& picture, int x, int y, const std::string& name = "map") {
    const scene::Database& database = picture.database();
    const auto* const texture = database.find<scene::TextureElement>(database.named(name));
    if (!texture->baked) throw std::runtime_error("nothing was baked");
    return texture->baked->at(static_cast<std::size_t>(y * texture->width + x));
}

template <class Body>
void eachTexel(const Body& body) {
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            SCOPED_TRACE(fmt::format("texel {} {}", x, y));
            body(x, y);
        }
}

TEST(LightMaps, HoldPlacesAndNormalsOfTheirTexels) {
    // Turned by 30 degrees about x and moved: parent to local.
    const float c = std::cos(0.523599f), s = std::sin(0.523599f);
    const std::string placed = fmt::format("transform 1 0 0 0 0 {0} {1} 0 0 {2} {0} 0 -3 0 0 1", c, -s, s);
    for (const bool inObject : {false, true}) {
        const std::string space = fmt::format(", \"space\" {}", inObject ? 1 : 0);
        RenderedScene picture(sceneOf(
            target + fmt::format("writable vector texture \"normals\" [ {0} {0} ]\n", size) +
            baked(bake("\"quantity\" 4" + space) +
                  fmt::format(" \"velaBake\" ( \"texture\" \"normals\", \"quantity\" 3 {} )", space)) +
            square("plane", 0, 1, placed)));
        eachTexel([&](int x, int y) {
            const float right = 4 * (static_cast<float>(x) + 0.5f) / size - 2,
                        up = 4 * (static_cast<float>(y) + 0.5f) / size - 2;
            const miColor place = texel(picture, x, y), normal = texel(picture, x, y, "normals");
            expectColor(place, inObject ? miColor{right, up, 0, 1} : miColor{right + 3, c * up, s * up, 1},
                        1e-5f);
            expectColor(normal, inObject ? miColor{0, 0, 1, 1} : miColor{0, -s, c, 1}, 1e-5f);
            EXPECT_EQ(place.a, 1.0f);
        });
    }
}

TEST(LightMaps, HoldWhatThePictureShows) {
    const std::string light = pointLight("lamp", "\"intensity\" 3, \"decayRate\" 2", 0.5f, 0, 1.5f);
    // A pixel for every texel, seen from the front; what casts the shadow is not seen itself.
    for (const char* const quantity : {"\"quantity\" 0", "\"quantity\" 1"}) {
        TestScene scene = sceneOf(target + baked(bake(quantity)) + white() + light + square("plane") +
                                  card("shade", "white", -0.3f, 0, 0.75f, 0.2f, "visible off"));
        RenderedScene picture(scene);
        float darkest = 1, brightest = 0;
        picture.eachPixel([&](int x, int y) {
            const miColor seen = picture.pixel("main", x, y);
            expectColor(texel(picture, x, y), seen, 1e-4f);
            darkest = std::min(darkest, seen.r);
            brightest = std::max(brightest, seen.r);
        });
        EXPECT_EQ(darkest, 0.0f);
        EXPECT_GT(brightest, 0.5f);
    }
}

TEST(LightMaps, GatherTheLightOfOtherSurfaces) {
    // Below an endless bright sheet, which is too far away to cover anything.
    TestScene scene = sceneOf(target + baked(bake("\"quantity\" 1")) + square("plane") +
                              glowing("sky", "0.5 1 2") + card("above", "sky", 0, 0, 3, 3000, "visible off"));
    scene.extraOptions = "finalgather on finalgather accuracy 400";
    scene.contents.insert(0, fmt::format("writable scalar texture \"open\" [ {0} {0} ]\n", size));
    scene.contents.replace(scene.contents.find("lightmap"), 8,
                           "lightmap \"velaBake\" ( \"texture\" \"open\", \"quantity\" 2, \"distance\" 2 )");
    RenderedScene picture(scene);
    eachTexel([&](int x, int y) {
        expectColor(texel(picture, x, y), {0.5f, 1, 2, 1}, 0.02f);
        expectColor(texel(picture, x, y, "open"), {1, 1, 1, 1}, 1e-6f);
    });
}

TEST(LightMaps, AreTheSameForAnyThreads) {
    TestScene scene = sceneOf(target + baked(bake("\"quantity\" 1")) + white() + square("plane") +
                              pointLight("lamp", "\"intensity\" 3", 0.5f, 0, 1.5f) +
                              card("shade", "white", 0.3f, 0, 1, 0.4f));
    scene.samples = "1 1";
    RenderedScene::Settings settings;
    settings.threads = 3;
    RenderedScene one(scene), several(scene, settings);
    int soft = 0; // texels at a shadow's edge
    eachTexel([&](int x, int y) {
        const miColor a = texel(one, x, y), b = texel(several, x, y);
        EXPECT_TRUE(a.r == b.r && a.g == b.g && a.b == b.b);
        soft += a.r > 0.01f && a.r < 0.7f;
    });
    EXPECT_GT(soft, 4);
}

TEST(LightMaps, GoOnBeyondTheEdgesOfWhatIsLaidOut) {
    // The lower left quarter of 64 texels, less half a texel; the margin is 16.
    TestScene scene = sceneOf("writable color texture \"map\" [ 64 64 ]\n" + baked(bake("\"quantity\" 3")) +
                              square("plane", 0, 15.2f / 64));
    RenderedScene picture(scene);
    for (int i = 0; i < 64; ++i) {
        const miColor color = texel(picture, i, i / 2);
        EXPECT_EQ(color.b, i < 31 ? 1.0f : 0.0f) << i;
        EXPECT_EQ(color.a, color.b) << i;
    }
}

struct FileCase {
    const char *profile, *file, *pixels;
    float tolerance; // of the numbers that such a file holds
};

TEST(LightMaps, ReadTheSameFromTheirFiles) {
    const TemporaryDirectory folder;
    // Places run from 0 to 1 over the texture.
    const std::string square =
        "object \"o\" visible group 0 0 0 1 0 0 1 1 0 0 1 0 v 0 t 0 v 1 t 1 v 2 t 2 v 3 t 3\n"
        "p \"m\" 0 1 2 3 end group end object\ninstance \"i\" \"o\" end instance\n";
    for (const FileCase& each :
         {FileCase{"linear", "a.exr", "", 0}, FileCase{"sRGB", "b.png", "rgb", 0.01f},
          FileCase{"gamma2.2", "c.tif", "rgb_16", 1e-4f}, FileCase{"linear", "d.exr", "rgba_h", 5e-4f}}) {
        const auto statement = [&](const std::string& rest) {
            return fmt::format("texture \"map\" colorprofile \"{}\" \"{}\" {}\n", each.profile,
                               folder.file(each.file), rest);
        };
        const std::string pixels = *each.pixels ? fmt::format("\"{}\"", each.pixels) : "";
        RenderedScene picture(sceneOf("writable color " +
                                      statement(fmt::format("\"exr\" {} [ 8 8 ]", pixels)) +
                                      baked(bake("\"quantity\" 4")) + square));
        const scene::Database& database = picture.database();
        const auto& map = *database.find<scene::TextureElement>(database.named("map"));
        Log log(LogLevel::None);
        ASSERT_TRUE(image::writeLightMap(map, "", 1, {}, log)) << each.file;
        EXPECT_EQ(image::lightMapPath(map, "", 1), folder.file(each.file));

        scene::TextureElement stored;
        stored.file = folder.file(each.file);
        stored.colorProfile = map.colorProfile;
        image::Textures textures(log, {});
        for (int i = 0; i < 8; ++i) {
            const float u = (static_cast<float>(i) + 0.5f) / 8, v = (static_cast<float>(i / 2) + 0.5f) / 8;
            miColor read{};
            ASSERT_TRUE(textures.lookup(stored, u, v, {}, read)) << each.file;
            expectColor(read, {u, v, 0, 1}, each.tolerance, each.file);
        }
    }
}

struct FaultCase {
    const char* name;
    std::string contents, message;
};
TEST(LightMapShader, WithoutATextureIsCalledOnceForEachVertex) {
    const RenderedScene picture(sceneOf(baked("lightmap \"testVertices\" ( )") + square("plane") +
                                        square("far", 0, 1, "transform 1 0 0 0 0 1 0 0 0 0 1 0 -9 0 0 1"))
                                    .text());
    const auto complaints = picture.complaints();
    EXPECT_EQ(complaints.size(), 8u) << fmt::format("{}", fmt::join(complaints, "\n"));
    for (const std::string vertex : {"-2, -2, weights 1 0 0", "2, -2, weights 0 1 0", "2, 2, weights 0 0 1",
                                     "-2, 2, weights 0 0 1", "7, -2, weights 1 0 0", "11, 2, weights 0 0 1"})
        EXPECT_TRUE(picture.logged("vertex at " + vertex)) << vertex;
}

class LightMapFault : public ::testing::TestWithParam<FaultCase> {};

TEST_P(LightMapFault, IsReported) {
    const RenderedScene picture(sceneOf(GetParam().contents).text());
    EXPECT_TRUE(picture.logged(GetParam().message))
        << fmt::format("{}", fmt::join(picture.complaints(), "\n"));
}

// Two triangles, the second over the corner of the first.
const std::string folded =
    "object \"fold_mesh\" visible group -2 -2 0 2 -2 0 2 2 0 -2 2 0  0 0 0 1 0 0 1 1 0 0.6 0.3 0\n"
    "v 0 t 4 v 1 t 5 v 2 t 6 v 3 t 7 p \"m\" 0 1 2 p \"m\" 0 1 3\nend group end object\n"
    "instance \"fold\" \"fold_mesh\" end instance\n";
const std::string position = baked(bake("\"quantity\" 4"));
INSTANTIATE_TEST_SUITE_P(
    Cases, LightMapFault,
    ::testing::Values(
        FaultCase{"no target", "color texture \"map\" [ 1 1 ] '00000000'\n" + position + square("plane"),
                  "none of its parameters is a writable texture"},
        FaultCase{"no coordinates", target + position + card("plane", "m", 0, 0, 0, 1),
                  "object \"plane_mesh\" is in no light map: it has no texture coordinates"},
        FaultCase{"no size",
                  "writable color texture \"map\" \"none.exr\" \"exr\"\n" + position + square("plane"),
                  "its size is not known"},
        FaultCase{"pixel format",
                  "writable color texture \"map\" \"a.exr\" \"exr\" \"tag\" [ 4 4 ]\n" + position +
                      square("plane"),
                  "\"tag\" is no pixel format"},
        FaultCase{"tiles",
                  "writable color texture \"map\" \"a.<UDIM>.exr\" \"exr\" [ 4 4 ]\n" + position +
                      square("plane"),
                  "a light map is one image"},
        FaultCase{"outside", target + position + square("plane", 0.5f, 1.5f),
                  "object \"plane_mesh\" are not all within 0 to 1"},
        FaultCase{"two instances", target + position + square("plane") + square("other"),
                  "of its texels are covered more than once: several instances"},
        FaultCase{"overlap", target + position + folded,
                  "of its texels are covered more than once: the texture"}),
    [](const ::testing::TestParamInfo<FaultCase>& fault) {
        std::string name = fault.param.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    });

} // namespace

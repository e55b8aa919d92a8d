// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

/// orca-import and mesh statements, with small models of each kind: a skew pyramid, and a square under a
/// light.
namespace orca::image::test {

namespace {

using Point = std::array<float, 3>;
constexpr Point corners[] = {{-1, 0, 1}, {1, 0, 1}, {1, 0, -1}, {-1, 0, -1}, {0.3f, 1.5f, 0.2f}};
constexpr std::array<int, 3> faces[] = {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}, {0, 3, 2}, {0, 2, 1}};

/// A line for each point or face; {0} to {2} are its numbers.
std::string points(const char* form) {
    std::string text;
    for (const auto& [x, y, z] : corners) text += fmt::format(fmt::runtime(form), x, y, z);
    return text;
}
std::string triangles(const char* form, int first = 0) {
    std::string text;
    for (const auto& [a, b, c] : faces)
        text += fmt::format(fmt::runtime(form), a + first, b + first, c + first);
    return text;
}

template <class T>
std::string bytes(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), sizeof(T) * values.size()};
}

std::string stl() {
    std::string text = "solid pyramid\n";
    for (const auto& face : faces) {
        text += "facet normal 0 0 0\nouter loop\n";
        for (const int i : face) text += fmt::format("vertex {}\n", fmt::join(corners[i], " "));
        text += "endloop\nendfacet\n";
    }
    return text + "endsolid pyramid\n";
}

std::string collada() {
    return fmt::format(
        R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit meter="1"/><up_axis>Y_UP</up_axis></asset><library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="15">{}</float_array><technique_common><accessor source="#pa" count="5" stride="3">
<param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="6"><input semantic="VERTEX" source="#v" offset="0"/><p>{}</p></triangles></mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#g"/></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)",
        points("{} {} {} "), triangles("{} {} {} "));
}

constexpr const char* pyramidGltf =
    R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":5,"type":"VEC3"},{"bufferView":1,"componentType":5123,"count":18,"type":"SCALAR"}],
"bufferViews":[{"buffer":0,"byteLength":60},{"buffer":0,"byteOffset":60,"byteLength":36}],
"buffers":[{"byteLength":4000,"uri":"model.bin"}]})";

/// Squares from -1 to 1: "big" at (3, 0, 0), and "small" 2.5 above it, half as large, which moves to the
/// right by 2 a second. The camera at (3, 0, 10) sees 10 units high; 100 pixels are 10 a unit. MATERIAL and
/// LIGHT stand for members of these.
constexpr const char* squaresGltf =
    R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"children":[1,2,3,4]},{"name":"group","translation":[3,0,0],"children":[5,6]},
{"name":"eye","camera":0,"translation":[3,0,10]},
{"name":"lamp","translation":[3,0,2],"extensions":{"KHR_lights_punctual":{"light":0}}},
{"name":"empty"},{"name":"big","mesh":0},{"name":"small","mesh":0,"translation":[0,2.5,0],"scale":[0.5,0.5,1]}],
"meshes":[{"name":"square","primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":2},"indices":1,"material":0}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3"},{"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"},
{"bufferView":2,"componentType":5126,"count":4,"type":"VEC2"},
{"bufferView":3,"componentType":5126,"count":2,"type":"SCALAR","min":[0],"max":[1]},
{"bufferView":4,"componentType":5126,"count":2,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":12},{"buffer":0,"byteOffset":60,"byteLength":32},
{"buffer":0,"byteOffset":92,"byteLength":8},{"buffer":0,"byteOffset":100,"byteLength":24}],
"buffers":[{"byteLength":4000,"uri":"model.bin"}],
"cameras":[{"type":"perspective","perspective":{"yfov":0.927295218,"znear":0.1,"aspectRatio":1}}],
"images":[{"uri":"map.ppm"}],"textures":[{"source":0}],"materials":[{"name":"paint",MATERIAL}],
"extensionsUsed":["KHR_lights_punctual","KHR_materials_clearcoat","KHR_materials_ior","KHR_materials_transmission"],"extensions":{"KHR_lights_punctual":{"lights":[{LIGHT}]}},
"animations":[{"channels":[{"sampler":0,"target":{"node":6,"path":"translation"}}],"samplers":[{"input":3,"output":4}]}]})";

struct Import : Command {
    /// The pyramid in every format.
    std::map<std::string, std::string> pyramids() {
        std::vector<float> numbers;
        std::vector<std::uint16_t> indices;
        for (const Point& p : corners) numbers.insert(numbers.end(), p.begin(), p.end());
        for (const auto& face : faces) indices.insert(indices.end(), face.begin(), face.end());
        directory.write("model.bin", bytes(numbers) + bytes(indices) + std::string(4000, '\0'));
        return {
            {"p.obj", points("v {} {} {}\n") + triangles("f {} {} {}\n", 1)},
            {"p.ply", "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\nproperty float y\nproperty "
                      "float z\nelement face 6\nproperty list uchar int vertex_indices\nend_header\n" +
                          points("{} {} {}\n") + triangles("3 {} {} {}\n")},
            {"p.stl", stl()},
            {"p.dae", collada()},
            {"p.gltf", pyramidGltf}};
    }
    int import(const std::string& arguments) { return runTool("orca-import", arguments); }
    /// Channels of one layer at a pixel.
    std::vector<float> pixel(const std::string& arguments, const std::string& at, const std::string& layer) {
        const char* const samples = arguments.find("--samples") == std::string::npos ? "--samples 0 0" : "";
        EXPECT_EQ(run(fmt::format("{} {} --pixel {} --passes {} --files off --filter box 1 1", arguments,
                                  samples, at, layer)),
                  0)
            << output;
        std::istringstream lines(output);
        for (std::string line, name; std::getline(lines, line);) {
            std::istringstream words(line);
            words >> name;
            if (name != layer) continue;
            std::vector<float> values;
            for (float value; words >> value;) values.push_back(value);
            return values;
        }
        return {};
    }
    void expectPixel(const std::string& arguments, const std::string& at, const std::string& layer,
                     const std::vector<float>& expected, float tolerance = 1e-3f) {
        const std::vector<float> got = pixel(arguments, at, layer);
        ASSERT_GE(got.size(), expected.size()) << arguments << output;
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_NEAR(got[i], expected[i], tolerance) << arguments << ", " << layer << " at " << at;
    }
};

TEST_F(Import, OfEveryFormatGivesTheMeshThatIsWrittenByHand) {
    const auto withObject = [](const std::string& geometry) {
        std::string text = grayCard;
        text.replace(text.find("    group"), text.find("    end group") + 13 - text.find("    group"),
                     geometry);
        text.replace(text.find("0 0 -4 1"), 8, "-0.2 -0.7 -4 1");
        return text + renderIt;
    };
    scene("hand.mi", withObject("group\n" + points("{} {} {}\n") + "v 0 v 1 v 2 v 3 v 4\n" +
                                triangles("c {} {} {}\n") + "end group\n"));
    ASSERT_EQ(run("hand.mi --size 64x32 --png hand.png"), 0) << output;
    for (const auto& [name, model] : pyramids()) {
        directory.write(name, model);
        scene("mesh.mi", withObject(fmt::format("mesh \"{}\"\n", name)));
        EXPECT_EQ(run("mesh.mi --size 64x32 --png mesh.png"), 0) << output;
        EXPECT_TRUE(content("mesh.png") == content("hand.png")) << name;
        EXPECT_EQ(run("mesh.mi --list-inputs"), 0) << output;
        EXPECT_TRUE(says(name)) << output;
    }
    EXPECT_EQ(import("p.gltf --scale 2 --ground"), 0) << output; // renders at once
    EXPECT_EQ(run("p.mi --size 24x16 --samples 0 0 --passes all"), 0) << output;
    EXPECT_EQ(run("mesh.mi --check --read-only-under /usr"), 3);
    directory.write("p.stl", "solid nothing");
    scene("mesh.mi", withObject("mesh \"p.stl\"\n"));
    expectCalls({{"mesh.mi --check", 3, {"mesh.mi:", "object \"card\"", "p.stl"}}});
}

struct ImportedScene : Import, ::testing::WithParamInterface<const char*> {
    void SetUp() override {
        const std::vector<float> square = {-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0};
        const std::vector<float> uv = {0, 1, 1, 1, 1, 0, 0, 0}, times = {0, 1},
                                 places = {0, 2.5f, 0, 2, 2.5f, 0};
        directory.write("model.bin", bytes(square) + bytes(std::vector<std::uint16_t>{0, 1, 2, 0, 2, 3}) +
                                         bytes(uv) + bytes(times) + bytes(places) + std::string(4000, '\0'));
    }
    void write(const std::string& material, const std::string& light) {
        std::string model = squaresGltf;
        model.replace(model.find("MATERIAL"), 8, material);
        model.replace(model.find("LIGHT"), 5, light);
        directory.write("model.gltf", model);
    }
    static constexpr const char* plain =
        R"("pbrMetallicRoughness":{"baseColorFactor":[0.2,0.5,0.8,1],"metallicFactor":0,"roughnessFactor":1})";
};

TEST_P(ImportedScene, IsLitInPhysicalUnitsAndPlacedAndMovedAsItsNodesAre) {
    write(plain, GetParam());
    ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
    EXPECT_TRUE(says("1 object, ") && says("1 light, 1 camera")) << output;
    expectPixel("model.mi", "50,50", "diffuse", {0.14f, 0.35f, 0.56f}, 1e-2f); // 0.7 of the base colour
    const std::pair<const char*, float> covered[] = {{"41,50", 1.0f}, {"38,50", 0.0f}, {"58,41", 1.0f},
                                                     {"50,75", 1.0f}, {"43,75", 0.0f}, {"50,66", 0.0f}};
    for (const auto& [at, coverage] : covered) expectPixel("model.mi", at, "coverage", {coverage});

    ASSERT_EQ(import("model.gltf --size 100x100 --frames 0:1 --fps 2 -o moving.mi"), 0) << output;
    expectPixel("moving.mi --frames 0", "62,75", "coverage", {0});
    expectPixel("moving.mi --frames 1", "62,75", "coverage", {1});
    expectPixel("moving.mi --frames 1", "52,75", "coverage", {0});
    ASSERT_EQ(import("model.gltf --size 100x100 --frames 0:0 --fps 2 --shutter 1 -o blurred.mi"), 0)
        << output;
    // Covered once the square has moved by 0.22 of the unit that it moves.
    expectPixel("blurred.mi --samples 3 3", "57,75", "coverage", {0.78f}, 0.25f);
}
INSTANTIATE_TEST_SUITE_P(
    Lights, ImportedScene,
    ::testing::Values(
        R"("type":"point","intensity":8.79646)",
        R"("type":"spot","intensity":8.79646,"spot":{"innerConeAngle":0.6,"outerConeAngle":0.8})",
        R"("type":"directional","intensity":2.19911)"));

TEST_F(ImportedScene, MovesBetweenMorphTargetsAsTheirWeightsSay) {
    // The target is the square 2 to the right; its weight grows from 0 to 1 in a second.
    std::string model = content("model.bin").substr(0, 124);
    for (int corner = 0; corner < 4; ++corner) model += bytes(std::vector<float>{2, 0, 0});
    directory.write("model.bin", model + std::string(4000, '\0'));
    write(plain, R"("type":"directional","intensity":2)");
    model = content("model.gltf");
    const auto replace = [&](const std::string& part, const std::string& by) {
        model.replace(model.find(part), part.size(), by);
    };
    replace(R"("material":0}])", R"("material":0,"targets":[{"POSITION":5}]}],"weights":[0.25])");
    replace(R"("bufferView":4,"componentType":5126,"count":2,"type":"VEC3"})",
            R"("bufferView":4,"componentType":5126,"count":2,"type":"VEC3"},
{"bufferView":5,"componentType":5126,"count":4,"type":"VEC3"})");
    replace(R"("byteOffset":100,"byteLength":24})",
            R"("byteOffset":100,"byteLength":24},{"buffer":0,"byteOffset":124,"byteLength":48})");
    replace(R"("node":6,"path":"translation")", R"("node":5,"path":"weights")");
    replace(R"("output":4)", R"("output":3)");
    directory.write("model.gltf", model);
    ASSERT_EQ(import("model.gltf --size 100x100 --frames 0:1 --fps 2"), 0) << output;
    EXPECT_FALSE(says("morph")) << output;
    for (const auto& [frame, left, right] : {std::tuple{0, 1.0f, 0.0f}, std::tuple{1, 0.0f, 1.0f}}) {
        expectPixel(fmt::format("model.mi --frames {}", frame), "45,50", "coverage", {left});
        expectPixel(fmt::format("model.mi --frames {}", frame), "65,50", "coverage", {right});
    }
    ASSERT_EQ(import("model.gltf --size 100x100 -o rest.mi"), 0) << output; // half a unit to the right
    expectPixel("rest.mi", "42,50", "coverage", {0});
    expectPixel("rest.mi", "62,50", "coverage", {1});
}

TEST_F(ImportedScene, HasMaterialsFromFactorsImagesAndVertices) {
    const char* const lamp = R"("type":"point","intensity":8.79646)";
    std::string map = "P3 16 1 255";
    for (int x = 0; x < 16; ++x) map += x < 8 ? " 0 64 255" : " 0 255 0";
    directory.write("map.ppm", map); // left: smooth metal, right: rough and no metal
    write(
        R"("pbrMetallicRoughness":{"baseColorFactor":[0.2,0.5,0.8,1],"metallicRoughnessTexture":{"index":0}})",
        lamp);
    ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
    expectPixel("model.mi", "42,50", "diffuseMaterialColor", {0, 0, 0}, 0.01f);
    expectPixel("model.mi", "58,50", "diffuseMaterialColor", {0.2f, 0.5f, 0.8f}, 0.02f);
    expectPixel("model.mi", "42,50", "specularMaterialColor", {0.2f, 0.5f, 0.8f}, 0.01f);
    expectPixel("model.mi", "58,50", "specularMaterialColor", {0.04f, 0.04f, 0.04f}, 0.03f);
    write(R"("pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0},"alphaMode":"BLEND",
"emissiveFactor":[0.5,0,0])",
          lamp);
    ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
    expectPixel("model.mi", "42,50", "diffuseMaterialColor", {0, 0.0513f, 1}, 0.06f); // sRGB 64
    expectPixel("model.mi", "58,50", "incandescence", {0.5f, 0, 0});

    // Turned counter-clockwise by a right angle, and on a second texture space that runs from right to left.
    const std::string colors = R"("pbrMetallicRoughness":{"metallicFactor":0,"baseColorTexture":{"index":0,)";
    write(colors + R"("extensions":{"KHR_texture_transform":{"rotation":1.5707963}}}})", lamp);
    std::string model = content("model.gltf");
    model.replace(model.find("KHR_lights_punctual\",\"KHR_m"), 0, "KHR_texture_transform\",\"");
    directory.write("model.gltf", model);
    ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
    expectPixel("model.mi", "50,58", "diffuseMaterialColor", {0, 0.0513f, 1}, 0.02f);
    expectPixel("model.mi", "50,42", "diffuseMaterialColor", {0, 1, 0}, 0.02f);
    directory.write("model.bin", content("model.bin").substr(0, 124) +
                                     bytes(std::vector<float>{1, 1, 0, 1, 0, 0, 1, 0}) +
                                     std::string(4000, '\0'));
    write(colors + R"("texCoord":1}})", lamp);
    model = content("model.gltf");
    model.replace(model.find("\"TEXCOORD_0\":2"), 14, "\"TEXCOORD_0\":2,\"TEXCOORD_1\":5");
    model.replace(model.find("],\n\"bufferViews\""), 0,
                  R"(,{"bufferView":5,"componentType":5126,"count":4,"type":"VEC2"})");
    model.replace(model.find("],\n\"buffers\""), 0, R"(,{"buffer":0,"byteOffset":124,"byteLength":32})");
    directory.write("model.gltf", model);
    ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
    expectPixel("model.mi", "42,50", "diffuseMaterialColor", {0, 1, 0}, 0.02f);
    expectPixel("model.mi", "58,50", "diffuseMaterialColor", {0, 0.0513f, 1}, 0.02f);

    directory.write("quad.mtl", "newmtl half\nKd 1 1 1\nd 0.25\nmap_Kd map.ppm\n");
    directory.write(
        "quad.obj",
        "mtllib quad.mtl\nusemtl half\nv 0 0 0\nv 4 0 0\nv 4 4 0\nv 0 4 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt "
        "0 1\nf 1/1 2/2 3/3 4/4\n");
    ASSERT_EQ(import("quad.obj --size 100x100"), 0) << output;
    expectPixel("quad.mi", "65,50", "diffuseMaterialColor", {0, 0.25f, 0}, 0.01f); // times the opacity
    expectPixel("quad.mi", "65,50", "transparency", {0.75f, 0.75f, 0.75f});
    directory.write(
        "c.ply",
        "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float "
        "z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\nproperty list "
        "uchar int vertex_indices\nend_header\n0 0 0 255 0 0\n2 0 0 255 0 0\n0 2 0 255 0 0\n3 0 1 2\n");
    ASSERT_EQ(import("c.ply --size 100x100 --up z"), 0) << output; // lies on the ground
    expectPixel("c.mi", "45,50", "diffuseMaterialColor", {1, 0, 0});
    expectPixel("c.mi", "45,50", "normalWorld", {0, 1, 0});
}

TEST_F(ImportedScene, HasLayersThatReflectAsTheirIndexSays) {
    struct Layers {
        const char* extensions;
        float reflectance, diffuse; ///< head on, and share of the base colour
    };
    constexpr Layers cases[] = {
        {R"("KHR_materials_ior":{"ior":2})", 0.111f, 0.889f},
        {R"("KHR_materials_clearcoat":{"clearcoatFactor":1,"clearcoatRoughnessFactor":0.2})", 0.078f, 0.922f},
        {R"("KHR_materials_transmission":{"transmissionFactor":0.5})", 0.04f, 0.48f}};
    for (const auto& [extensions, reflectance, diffuse] : cases) {
        write(fmt::format(R"("pbrMetallicRoughness":{{"baseColorFactor":[1,1,1,1],"metallicFactor":0,
"roughnessFactor":0.2}},"extensions":{{{}}})",
                          extensions),
              R"("type":"directional","intensity":2)");
        ASSERT_EQ(import("model.gltf --size 100x100"), 0) << output;
        EXPECT_FALSE(says("\"paint\"")) << output;
        expectPixel("model.mi", "50,50", "specularMaterialColor", {reflectance}, 0.01f);
        expectPixel("model.mi", "50,50", "diffuseMaterialColor", {diffuse}, 0.02f);
    }
}

TEST_F(Import, OfDamagedFilesEndsWithAMessageThatNamesThem) {
    const auto models = pyramids();
    for (const auto& [name, model] : models)
        for (int part = 0; part < 8; ++part) {
            directory.write(name, model.substr(0, model.size() * static_cast<std::size_t>(part) / 8));
            const int code = import(name + " -q -o out.mi");
            EXPECT_TRUE(code == 0 || code == 3) << name << ", part " << part << ": " << code << output;
            EXPECT_TRUE(code == 0 || says(name)) << name << ", part " << part << ": " << output;
            EXPECT_EQ(exists("out.mi"), code == 0) << name << ", part " << part;
            std::filesystem::remove(directory.file("out.mi"));
        }
    directory.write("huge.off", "OFF\n2000000000 6 0\n0 0 0\n");
    directory.write("text.obj", "no model at all\n");
    directory.write("still.ply", models.at("p.ply"));
#ifndef __SANITIZE_ADDRESS__ // whose allocator ends the process
    EXPECT_EQ(import("huge.off --limit-memory 300"), 6) << output;
    EXPECT_TRUE(says("huge.off") && says("--limit-memory")) << output;
#endif
    const Call calls[] = {{"text.obj", 3, {"text.obj"}},
                          {"missing.obj", 3, {"missing.obj"}},
                          {"missing.gltf", 3, {"missing.gltf"}},
                          {". -o out.mi", 3, {"directory"}},
                          {"still.ply -o no/such/folder.mi", 4, {"no/such/folder.mi"}},
                          {"still.ply --frames 0:9", 3, {"there is no animation"}},
                          {"still.ply --camera side", 3, {"there is no camera \"side\""}},
                          {"still.ply text.obj", 3, {"still.mi: 1 object", "text.obj"}},
                          {"still.ply text.obj -o out.mi", 2, {"-o"}},
                          {"still.ply --frames 9", 2, {"--frames"}},
                          {"still.ply --size 0x9", 2, {"--size"}},
                          {"still.ply -o still.ply", 2, {"the model itself"}}};
    for (const auto& [arguments, exitCode, prints] : calls) {
        EXPECT_EQ(import(arguments), exitCode) << arguments << ": " << output;
        for (const std::string& part : prints) EXPECT_TRUE(says(part)) << arguments << ": " << output;
    }
}

} // namespace

} // namespace orca::image::test

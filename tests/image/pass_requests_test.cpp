// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <utility>

/// What --passes takes: presets, patterns, options, and scenes that set passes up themselves.
namespace orca::image::test {

namespace {

constexpr const char* lamp =
    "light \"lamp\" \"orcaVelaPointLight\" ( \"intensity\" 0.5 ) origin 0 0 2 end light\n"
    "instance \"lamp_inst\" \"lamp\" end instance\nincremental instgroup \"world\" \"cam_inst\" "
    "\"card_inst\" \"front\" \"sun_inst\" \"lamp_inst\" end "
    "instgroup\n";
constexpr const char* glow =
    "incremental shader \"red\" \"orcaVelaLambert\" ( \"incandescence\" 0.1 0.2 0.3 1 )\n";

struct PassRequests : Command {
    /// Lines of --pixel for the layers named, or for all.
    std::string pixel(const std::string& arguments, const std::vector<std::string>& layers = {},
                      const std::string& place = "7,4") {
        EXPECT_EQ(run(arguments + " --no-default-light --pixel " + place), 0) << output;
        std::istringstream lines(output);
        std::string chosen;
        for (std::string line; std::getline(lines, line);) {
            const std::string name = line.substr(0, line.find(' '));
            if (layers.empty() || std::find(layers.begin(), layers.end(), name) != layers.end())
                chosen += line + '\n';
        }
        return chosen;
    }
};

TEST_F(PassRequests, MeanTheseLayers) {
    scene("lit.mi", litCards + renderIt);
    const std::pair<const char*, const char*> good[] = {
        {"?pacity,diffuse,dif*Shadow,diffuse", "opacity diffuse diffuseNoShadow"},
        {"denoise", "beauty albedo normal cameraDepth motionVector2D"},
        {"specular[light=sun*],diffuse[shadowed=off,name=bright]", "specular_sun bright"},
        {"relight,objects", "rest light_sun_inst object_card_inst object_front"},
        {"coverage[object=front|card*]", "coverage_front_card"},
        {"compositing,variance,samples", "P N uv albedo motion variance samples"}};
    for (const auto& [list, layers] : good) {
        EXPECT_EQ(run(std::string("lit.mi --list-outputs --passes '") + list + "'"), 0) << output;
        std::istringstream lines(output);
        std::string found;
        for (std::string line, name; std::getline(lines, line);)
            if (std::istringstream(line) >> name && line.rfind("  ", 0) == 0 && name != "depth" &&
                name != "main" && line.find("beauty                         half   R") == std::string::npos)
                found += (found.empty() ? "" : " ") + name;
        EXPECT_EQ(found, layers) << output;
    }
    expectCalls({{"lit.mi --passes '*None'", 2, {"no pass fits \"*None\""}},
                 {"lit.mi --passes denois", 2, {"did you mean \"denoise\"?"}},
                 {"lit.mi --passes 'diffuse[lihgt=x]'", 2, {"did you mean \"light\"?"}},
                 {"lit.mi --passes 'diffuse[shadowed]'", 2, {"is not an option such as"}},
                 {"lit.mi --passes 'diffuse[shadowed=no]'", 2, {"on or off"}},
                 {"lit.mi --passes 'diffuse[name=a'", 2, {"do not match"}},
                 {"lit.mi --passes 'diffuse,diffuse[shadowed=off]'", 2, {"two layers would be called"}},
                 {"lit.mi --passes '*Shadow[name=x]'", 2, {"no one name"}},
                 {"lit.mi --passes 'relight[shadowed=off]'", 2, {"takes no options"}},
                 {"lit.mi --passes 'coverage[light=sun_inst]'", 2, {"holds no light"}},
                 {"lit.mi --passes 'utility[object=front]'", 2, {"does not know objects"}},
                 {"lit.mi --passes 'cameraDepth[remap=x]'", 2, {"is a number"}},
                 {"lit.mi --passes 'cameraDepth[remp=1]'", 3, {"remp"}},
                 {"lit.mi --passes 'coverage[background=1]'", 2, {"is no depth"}},
                 {"lit.mi --passes 'diffuse[light=son_inst]'", 3, {"did you mean \"sun_inst\"?"}}});
}

TEST_F(PassRequests, LeaveTheNamesOfWhoTakesPartInTheFile) {
    std::filesystem::create_directory(directory.path() + "/elsewhere");
    scene("lit.mi", litCards + lamp + renderIt);
    scene("elsewhere/lit.mi", litCards + lamp + renderIt);
    const std::string asked = " --passes 'diffuse,specular[light=lamp_inst],beauty[object=front]";
    ASSERT_EQ(run("lit.mi -o a.exr" + asked + "'"), 0) << output;
    ASSERT_EQ(run("elsewhere/lit.mi -o b.exr" + asked + ",coverage[object=card*]'"), 0) << output;
    const auto text = [&](const char* file, const std::string& part, const char* key) {
        const auto input = OIIO::ImageInput::open(directory.path() + "/" + file);
        for (int i = 0; input && input->seek_subimage(i, 0); ++i)
            if (part == input->spec().get_string_attribute("oiio:subimagename"))
                return std::string(input->spec().get_string_attribute(key));
        return std::string("no such part");
    };
    EXPECT_EQ(text("a.exr", "diffuse", "passLights"), "all");
    EXPECT_EQ(text("a.exr", "specular_lamp_inst", "passLights"), "\"lamp_inst\"");
    EXPECT_EQ(text("a.exr", "specular_lamp_inst", "passObjects"), "all");
    EXPECT_EQ(text("a.exr", "beauty_front", "passObjects"), "\"front\"");
    EXPECT_EQ(text("b.exr", "coverage_card", "passObjects"), "\"card_inst\"");
    EXPECT_EQ(text("b.exr", "coverage_card", "passLights"), "");
    EXPECT_NE(text("a.exr", "beauty", "pictureHash"), text("b.exr", "beauty", "pictureHash"));
    EXPECT_EQ(text("a.exr", "beauty", "sceneHash"), text("b.exr", "beauty", "sceneHash"));
}

TEST_F(PassRequests, OfDepthsHaveAFarValueWhereNothingIs) {
    scene("lit.mi", litCards + renderIt);
    const std::string depths =
        "lit.mi --passes 'planarDepth,cameraDepth,cameraDepth[background=9e8,name=far],"
        "planarDepth[object=card_inst,background=7,name=card]'";
    const std::vector<std::string> layers{"planarDepth", "cameraDepth", "far", "card"};
    const auto values = [&](const std::string& place) {
        pixel(depths, {}, place);
        std::vector<double> all;
        for (const std::string& layer : layers) all.push_back(layerValues(output, layer).at(0));
        return all;
    };
    EXPECT_EQ(values("0,0"), (std::vector<double>{1e10, 0, 9e8, 7}));
    const std::vector<double> hit = values("9,1"); // the front card is at a depth of 3
    const double radial = 3 * std::hypot(1.0, 1.5 / 16, 2.5 / 16);
    EXPECT_NEAR(hit[0], 3.0, 1e-5);
    EXPECT_NEAR(hit[1], radial, 1e-5);
    EXPECT_EQ(hit[2], hit[1]);
    EXPECT_EQ(hit[3], 7.0); // of the other card
}

TEST_F(PassRequests, OfLightsAreWhatTheLightsGiveAlone) {
    const std::string dark = litCards + glow;
    const std::string noSun =
        "incremental light \"sun\" \"orcaVelaDirectionalLight\" ( \"intensity\" 0 ) end light\n";
    scene("both.mi", dark + lamp + renderIt);
    scene("sun.mi", dark + renderIt);
    scene("lamp.mi", dark + noSun + lamp + renderIt);
    scene("none.mi", dark + noSun + renderIt);
    pixel("both.mi --passes 'relight,diffuse,diffuse[light=lamp_inst],diffuse[light=sun_inst,name=sun\"s]'");
    const std::string both = output;
    const auto at = [&](const std::string& layer) { return layerValues(both, layer); };
    const auto alone = [&](const std::string& file, const std::string& layer) {
        return layerValues(pixel(file + " --passes diffuse"), layer);
    };
    const std::vector<double> rest = alone("none.mi", "main"), sunlit = alone("sun.mi", "main"),
                              lamplit = alone("lamp.mi", "main");
    ASSERT_TRUE(at("rest").size() == 4 && at("light_sun_inst").size() >= 3 && at("sun\"s").size() == 4)
        << both;
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(at("rest")[c] + at("light_sun_inst")[c] + at("light_lamp_inst")[c], at("main")[c], 1e-6);
        EXPECT_NEAR(at("rest")[c], rest[c], 1e-6);
        EXPECT_NEAR(at("light_sun_inst")[c], sunlit[c] - rest[c], 1e-6);
        EXPECT_NEAR(at("light_lamp_inst")[c], lamplit[c] - rest[c], 1e-6);
        EXPECT_GT(at("light_lamp_inst")[c], 0.01);
    }
    EXPECT_EQ(at("diffuse_lamp_inst"), alone("lamp.mi", "diffuse"));
    EXPECT_EQ(at("sun\"s"), alone("sun.mi", "diffuse"));
    // What is dumped does the same.
    scene("lit.mi", dark + lamp + renderIt);
    const std::string asked = pixel("lit.mi --passes relight,objects");
    ASSERT_EQ(run("lit.mi --passes relight,objects --dump-passes"), 0) << output;
    scene("pasted.mi", dark + lamp + output + renderIt);
    EXPECT_EQ(pixel("pasted.mi"), asked);
}

TEST_F(PassRequests, LeaveASceneItsOwnPassesAndMasks) {
    const std::string blocks[] = {
        R"(data "block" "orcaFrameBufferData" ( "nonMaterialFrameBuffers" [ "cover" ], "frameBufferInfo" [
    { "frameBufferName" "diffuse", "shadowed" on }, { "frameBufferName" "specular" } ],
    "FrameBufferTypeCounts" [ 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                              0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 ] ) end data)",
        R"(data "block" "orcaNamedPasses" ( "nonMaterialFrameBuffers" [ "cover" ], "frameBufferInfo" [
    { "passType" "specular" }, { "passType" "diffuse", "shadowed" on } ] ) end data)"};
    // The front card's mask lets it into diffuse and not into coverage; the other one is kept out by name.
    const std::string own = R"(
incremental camera "cam" framebuffer "diffuse" datatype "rgba_fp" user on
    framebuffer "specular" datatype "rgba_fp" user on framebuffer "cover" datatype "coverage" user on
    lens "orcaFrameBufferLens" ( ) data "block" end camera
incremental options "opt" state "velaBaseState" ( "additivePasses" on ) "orcaFrameBufferState" ( ) end options
shader "covers" "orcaPassCoverage" ( "passIndex" 0, "contributionIndex" 2 )
incremental material "red_mtl" "orcaVelaShadingEngine" ( "surfaceShader" "red" ) = "covers" end material
data "mask" "orcaPassMask" ( "mask" "1" ) end data
data "links" "orcaPassLinks" ( "exclude" [ "diffuse" ] ) end data
incremental instance "front" data "mask" end instance
incremental instance "card_inst" data "links" end instance
)" + std::string(renderIt);
    const std::vector<std::string> layers{"main", "depth", "diffuse", "specular", "cover"};
    const std::string more =
        " --passes 'diffuse,ambient,relight,normalWorld,coverage,objects,beauty[object=front]'";
    for (const std::string& block : blocks) {
        scene("own.mi", "link \"velabase.so\"\n$include <velabase.mi>\n" + litCards + lamp + block + own +
                            "incremental camera \"cam\" frame 2 end camera\n" + renderIt);
        for (const std::string place : {"7,4", "10,4"}) { // the front card, and the one behind
            const std::string before = pixel("own.mi", layers, place);
            EXPECT_FALSE(before.empty());
            EXPECT_EQ(pixel("own.mi" + more, layers, place), before) << place;
            EXPECT_FALSE(says("warning")) << output;
        }
    }
    const auto of = [&](const std::string& layer) { return layerValues(output, layer); };
    ASSERT_EQ(of("coverage"), std::vector<double>{1}) << output;
    EXPECT_EQ(of("object_front").at(0) + of("object_card_inst").at(0), 1.0);
    EXPECT_NEAR(of("rest")[0] + of("light_sun_inst")[0] + of("light_lamp_inst")[0], of("main")[0], 1e-6);
    EXPECT_EQ(run("own.mi --passes 'specular[shadowed=off]'"), 3);
    EXPECT_TRUE(says("sets up another layer \"specular\"")) << output;
}

} // namespace

} // namespace orca::image::test

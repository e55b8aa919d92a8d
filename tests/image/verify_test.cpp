// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <OpenImageIO/imageio.h>

#include <limits>
#include <string>
#include <vector>

namespace orca::image::test {

namespace {

/// Two lights, and two cards one of which shades the other.
const std::string twoLights = litCards + R"(
instance "second_sun" "sun" transform 1 0 0 0  0 0.8 0.6 0  0 -0.6 0.8 0  0 0 0 1 end instance
incremental instgroup "world"  "cam_inst" "card_inst" "front" "sun_inst" "second_sun" end instgroup
)";

class Laws : public Command {
protected:
    /// Copies a file but for the middle pixel's first channel of a layer.
    void change(const std::string& from, const std::string& to, const std::string& layer, float value) {
        const auto in = OIIO::ImageInput::open(directory.path() + "/" + from);
        ASSERT_TRUE(in);
        std::vector<OIIO::ImageSpec> specs;
        std::vector<std::vector<float>> pixels;
        bool found = false;
        for (int part = 0; in->seek_subimage(part, 0); ++part) {
            specs.push_back(in->spec());
            pixels.emplace_back(specs.back().image_pixels() *
                                static_cast<std::size_t>(specs.back().nchannels));
            ASSERT_TRUE(
                in->read_image(part, 0, 0, specs.back().nchannels, OIIO::TypeFloat, pixels.back().data()));
            if (specs.back().get_string_attribute("oiio:subimagename") != layer) continue;
            found = true;
            const std::size_t middle =
                specs.back().image_pixels() / 2 + static_cast<std::size_t>(specs.back().width) / 2;
            pixels.back()[middle * static_cast<std::size_t>(specs.back().nchannels)] = value;
        }
        ASSERT_TRUE(found) << layer;
        const std::string path = directory.path() + "/" + to;
        const auto out = OIIO::ImageOutput::create(path);
        ASSERT_TRUE(out && out->open(path, static_cast<int>(specs.size()), specs.data()));
        for (std::size_t part = 0; part < specs.size(); ++part) {
            ASSERT_TRUE(part == 0 || out->open(path, specs[part], OIIO::ImageOutput::AppendSubimage));
            ASSERT_TRUE(out->write_image(OIIO::TypeFloat, pixels[part].data()));
        }
        ASSERT_TRUE(out->close());
    }
};

TEST_F(Laws, AreFoundInFilesAndHoldUnlessALayerIsWrong) {
    scene("two.mi", twoLights + renderIt);
    const std::string light =
        "weightByOpacity=on,includeReflection=off,includeRefraction=off,maxReflectionLevel=0,"
        "maxRefractionLevel=0";
    const std::string passes =
        "beauty,components,relight,directIrradiance,directIrradianceNoShadow,rawShadow,normal,"
        "planarDepth,"
        "position,"
        "specularNoShadow[" +
        light + "],specularNoShadow[object=card_inst,name=back," + light +
        "],specularNoShadow[object=front,name=front," + light +
        "],translucence[name=all,includeReflection=on,minReflectionLevel=0,maxReflectionLevel=2],"
        "translucence[name=low,includeReflection=on,minReflectionLevel=0,maxReflectionLevel=0],"
        "translucence[name=high,includeReflection=on,minReflectionLevel=1,maxReflectionLevel=2]";
    ASSERT_EQ(run("two.mi --verify-passes -v 4 -o good.exr --passes '" + passes + "'"), 0) << output;
    const std::string fromMemory = output;
    ASSERT_EQ(runTool("orca-verify", "good.exr"), 0) << output;

    const struct {
        const char *layer, *law;
        float value;
    } cases[] = {
        {"ambient",
         "ambient + diffuse + specular + incandescence + indirect + reflection + refraction + environment "
         "+ lamps = main",
         0.1f},
        {"beauty", "beauty = main", 0.9f},
        {"light_second_sun", "light_sun_inst + light_second_sun + rest = main", 0.9f},
        {"rawShadow", "directIrradiance + rawShadow = directIrradianceNoShadow", 0.3f},
        {"front", "back + front = specularNoShadow", 0.2f},
        {"high", "low + high = all", 0.2f},
        {"normal", "length of normal <= 1", 1.2f},
        {"planarDepth", "depth of position = planarDepth", 7.0f},
        {"diffuse", "diffuse has values that are no numbers, or infinite",
         std::numeric_limits<float>::infinity()},
    };
    for (const auto& [layer, law, value] : cases) {
        EXPECT_TRUE(value > 9.0f || fromMemory.find("holds: " + std::string(law)) != std::string::npos)
            << law << fromMemory;
        change("good.exr", "bad.exr", layer, value);
        EXPECT_EQ(runTool("orca-verify", "bad.exr --picture where.png --json report.json"), 1) << layer;
        EXPECT_TRUE(says("violated: " + std::string(law))) << layer << output;
        EXPECT_TRUE(value > 9.0f || says("at 8,4 R")) << layer << output;
    }
    EXPECT_EQ(runTool("orca-verify", "two.mi"), 4) << output;

    // What is subtracted from the layers of lights is subtracted once, whatever lies behind what.
    scene("layers.mi", std::string(twoLights).replace(twoLights.find("\"diffuse\" 1.0"), 13,
                                                      "\"diffuse\" 1.0, \"transparency\" 0.5 0.5 0.5 1, "
                                                      "\"incandescence\" 0.2 0.1 0.1 1") +
                           "incremental options \"opt\" scanline rapid end options\n" + renderIt);
    EXPECT_EQ(run("layers.mi --verify-passes -v 4 -o layers.exr --passes relight"), 0) << output;
    EXPECT_TRUE(says("holds: light_sun_inst + light_second_sun + rest = main")) << output;
}

} // namespace

} // namespace orca::image::test

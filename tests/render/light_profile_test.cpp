// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"
#include "temporary_directory.h"

#include "image/light_profile.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

namespace orca::test {
namespace {

using image::LightProfile;
using Between = LightProfile::Between;

/// An IES file with `angles` (vertical, then horizontal) and candela.
std::string ies(int verticals, int horizontals, int type, const std::string& numbers) {
    return fmt::format("IESNA:LM-63-1995\n[TEST] by hand\n[MANUFAC] none\nTILT=NONE\n"
                       "1 1000 2.0 {} {} {} 2 0 0 0\n1.0 1.0 60\n{}\n",
                       verticals, horizontals, type, numbers);
}

/// Unit direction with a vertical angle from -z and a horizontal one from +x, degrees.
miVector at(double vertical, double horizontal) {
    const double v = vertical / 57.29577951, h = horizontal / 57.29577951;
    return {static_cast<float>(std::sin(v) * std::cos(h)), static_cast<float>(std::sin(v) * std::sin(h)),
            static_cast<float>(-std::cos(v))};
}

float relative(const std::string& file, const miVector& direction, Between between = Between::Linear) {
    return LightProfile(image::readIes(file)).toward(direction, between);
}

TEST(LightProfile, InterpolatesBetweenVerticalAngles) {
    const std::string round = ies(4, 1, 1, "0 30 60 90\n0\n100 80 40 0");
    EXPECT_NEAR(relative(round, at(0, 0)), 1.0f, 1e-4f);
    EXPECT_NEAR(relative(round, at(30, 77)), 0.8f, 1e-4f);
    EXPECT_NEAR(relative(round, at(45, 200)), 0.6f, 1e-4f);
    EXPECT_NEAR(relative(round, at(49, 0), Between::Nearest), 0.4f, 1e-4f);
    EXPECT_NEAR(relative(round, at(45, 0), Between::Cubic), (9 * 0.8 + 9 * 0.4 - 1.0 - 0.0) / 16, 1e-4);
    EXPECT_EQ(relative(round, at(120, 0)), 0.0f); // nothing was measured upward
}

struct Plane {
    const char* horizontals;
    int count;
    double angle;
    float expected;
};
class LightProfileSymmetry : public ::testing::TestWithParam<Plane> {};

TEST_P(LightProfileSymmetry, CompletesTheCircle) {
    // Candela 10, 20, 30 ... one plane after the other, the same at all vertical angles.
    std::string candela;
    for (int i = 1; i <= GetParam().count; ++i) candela += fmt::format("{0} {0}\n", 10 * i);
    const std::string file =
        ies(2, GetParam().count, 1, std::string("0 90\n") + GetParam().horizontals + "\n" + candela);
    EXPECT_NEAR(relative(file, at(60, GetParam().angle)) * 10.0f * static_cast<float>(GetParam().count),
                GetParam().expected, 1e-2f)
        << GetParam().horizontals << " at " << GetParam().angle;
}
INSTANTIATE_TEST_SUITE_P(Planes, LightProfileSymmetry,
                         ::testing::Values(Plane{"0 45 90", 3, 30, 10 + 20.0f / 3},     //
                                           Plane{"0 45 90", 3, 135, 20},                //
                                           Plane{"0 45 90", 3, 225, 20},                //
                                           Plane{"0 45 90", 3, -90, 30},                //
                                           Plane{"0 90 180", 3, 135, 25},               //
                                           Plane{"0 90 180", 3, 270, 20},               //
                                           Plane{"90 180 270", 3, 0, 20},               // that of 180
                                           Plane{"90 180 270", 3, 300, 30 - 10.0f / 3}, // that of 240
                                           Plane{"0 90 180 270 360", 5, 315, 25}, // the last is the first
                                           Plane{"0 90 180 270", 4, 315, 25},     // the circle closes
                                           Plane{"0 90 180 270", 4, 225, 35}));

TEST(LightProfile, CountsTypesAAndBAboutTheirOwnAxes) {
    // Brighter to the right (B: horizontal angle) than upward (vertical angle).
    const std::string numbers = "-90 0 90\n-90 0 90\n0 0 0  0 100 0  0 50 0";
    const std::string b = ies(3, 3, 2, numbers), a = ies(3, 3, 3, numbers);
    for (const std::string& file : {a, b}) {
        EXPECT_NEAR(relative(file, {0, 0, -1}), 1.0f, 1e-4f);
        EXPECT_NEAR(relative(file, {1, 0, -1}), 0.75f, 1e-4f);
        EXPECT_NEAR(relative(file, {-1, 0, -1}), 0.5f, 1e-4f);
        EXPECT_NEAR(relative(file, {0, 1, -1}), 0.5f, 1e-4f);
    }
    // Off both axes they differ: A measures the elevation of (1, 1, -1), B its azimuth.
    const double elevation = std::asin(1 / std::sqrt(3.0)) / 1.570796327;
    EXPECT_NEAR(relative(a, {1, 1, -1}), 0.75 * (1 - elevation), 1e-4);
    EXPECT_NEAR(relative(b, {1, 1, -1}), 0.5 * (1 - 0.5 * elevation), 1e-4);
}

TEST(LightProfile, ReadsOldFilesTiltsAndNumbersOverManyLines) {
    const std::string tilted =
        "a lamp of 1986\nTILT=INCLUDE\n1\n3\n0 45\n90\n1 .9 .8\n1 -1 1 3 1 1 1 0 0 0 1 1 "
        "9\r\n0,45,\r\n90\n0\n4 2\n0\n";
    EXPECT_NEAR(relative(tilted, at(22.5, 0)), 0.75f, 1e-4f);
}

/// Six C planes, three G angles; `planes` sets of intensities as the symmetry has it.
std::string eulumdat(int symmetry, const std::string& intensities) {
    std::string text = "nobody\n1\n" + std::to_string(symmetry) + "\n4\n90\n3\n45\nr\nn\n1\nf\nd\n";
    for (int i = 0; i < 13; ++i) text += "0,5\n";
    text += "1\n1\nlamp\n1000\nwarm\n1B\n20\n";
    for (int i = 0; i < 10; ++i) text += "0.5\n";
    return text + "0\n90\n180\n270\n0\n45\n90\n" + intensities;
}

TEST(Eulumdat, HoldsAsManyPlanesAsItsSymmetryNeeds) {
    const auto of = [](int symmetry, const std::string& intensities, double horizontal) {
        return LightProfile(image::readEulumdat(eulumdat(symmetry, intensities)))
            .toward(at(45, horizontal), Between::Linear);
    };
    EXPECT_NEAR(of(1, "100\n50\n0\n", 123), 0.5f, 1e-4f);
    EXPECT_NEAR(of(4, "100\n50\n0\n100\n100\n0\n", 180 + 45), 0.75f, 1e-4f);
    EXPECT_NEAR(of(2, "100\n20\n0\n100\n40\n0\n100\n60\n0\n", 270), 0.4f, 1e-4f);
    EXPECT_NEAR(of(3, "100\n20\n0\n100\n40\n0\n100\n60\n0\n", 0), 0.4f, 1e-4f);
    EXPECT_NEAR(of(0, "100\n20\n0\n100\n40\n0\n100\n60\n0\n100\n80\n0\n", 315), 0.5f, 1e-4f);
}

TEST(LightProfile, SaysInWhichLineAFileIsWrong) {
    const auto fault = [](const std::string& text, bool eulum = false) -> std::string {
        try {
            static_cast<void>(eulum ? image::readEulumdat(text) : image::readIes(text));
        } catch (const image::LightProfileError& error) {
            return fmt::format("{}: {}", error.line, error.what());
        }
        return "";
    };
    EXPECT_EQ(fault("IESNA91\n"), "1: the file ends where TILT= should stand");
    EXPECT_EQ(fault("IESNA91\nTILT= \n"), "2: expected NONE, INCLUDE or a file's name after TILT=");
    EXPECT_EQ(fault("TILT=INCLUDE\n1\n3\n0 45 30\n1 1 1\n"),
              "4: tilt angles must increase, but 30 follows 45");
    EXPECT_EQ(fault("TILT=NONE\n1 1 one\n"), "2: expected the candela multiplier, not \"one\"");
    EXPECT_EQ(fault("TILT=NONE\n1 1 1 -3 1 1\n"), "2: the number of vertical angles cannot be -3");
    EXPECT_EQ(fault(ies(3, 1, 1, "0 90 45\n0\n1 1 1")),
              "7: vertical angles must increase, but 45 follows 90");
    EXPECT_EQ(fault(ies(2, 1, 1, "0 90\n0\n1")), "9: the file ends where an intensity should stand");
    EXPECT_EQ(fault(eulumdat(9, ""), true), "3: the symmetry is 0 to 4, not 9");
    EXPECT_EQ(fault(eulumdat(1, "1\nx\n"), true), "51: expected an intensity, not \"x\"");
}

/// A folder with a profile, and what a wall shows of its light.
class LightProfileFiles : public ::testing::Test {
protected:
    /// The light hangs 2 above the wall and `x` beside the pixel, and shines down -z.
    float brightness(const std::string& profile, float x, const std::string& statements = "") {
        folder.write("lamp.ies", profile);
        TestScene scene;
        scene.contents =
            fmt::format("lightprofile \"spread\" format ies file \"{}\" {} end lightprofile\n",
                        folder.file("lamp.ies"), statements) +
            white() + card("wall", "white", 0, 0, 0, 20) +
            pointLight("lamp", "\"decayRate\" 0, \"lightProfile\" \"spread\"", 0.125f + x, 0.125f, 2);
        const RenderedScene picture(scene.text());
        complaints = fmt::format("{}", fmt::join(picture.complaints(), "\n"));
        return picture.middle().r;
    }
    void expectComplaint(const std::string& part) const {
        EXPECT_NE(complaints.find(part), std::string::npos) << complaints;
    }
    const TemporaryDirectory folder;
    std::string complaints;
};

TEST_F(LightProfileFiles, ShapeTheLightOfAPointLight) {
    const std::string file = ies(3, 1, 1, "0 45 90\n0\n10 5 0");
    EXPECT_NEAR(brightness(file, 0), 1.0f, 1e-3f);
    EXPECT_EQ(complaints, "");
    EXPECT_NEAR(brightness(file, 2, "resolution 64 32"), std::sqrt(0.5f) * 0.5f, 1e-3f);
    expectComplaint("light profile \"spread\": \"resolution\" has no effect");
    EXPECT_NEAR(brightness("TILT=NONE\n1 1 1 2 1 9\n", 0), 1.0f, 1e-3f);
    expectComplaint("lamp.ies:2:1");
    expectComplaint("light profile \"spread\": the photometric type is");
}

/// The file beside the profile has the pairs that TILT=INCLUDE brings; whatever is in it, light is shaped.
TEST_F(LightProfileFiles, ReadTheTiltFileBesideThem) {
    std::string file = ies(2, 1, 1, "0 90\n0\n10 5");
    file.replace(file.find("NONE"), 4, "my lamp.tlt ");
    EXPECT_NEAR(brightness(file, 2), std::sqrt(0.5f) * 0.75f, 1e-3f);
    expectComplaint("\"spread\": TILT=my lamp.tlt names a file that cannot be read");
    folder.write("my lamp.tlt", "1\n3\n0 45 90\n1 .95 .9\n");
    EXPECT_NEAR(brightness(file, 2), std::sqrt(0.5f) * 0.75f, 1e-3f);
    EXPECT_EQ(complaints, "");
    folder.write("my lamp.tlt", "1\n3\n0 45 90\n1 .95\n");
    EXPECT_NEAR(brightness(file, 2), std::sqrt(0.5f) * 0.75f, 1e-3f);
    expectComplaint(folder.file("my lamp.tlt") + ":4:1");
    expectComplaint("the file ends where the factor of a tilt angle should stand");
}

} // namespace
} // namespace orca::test

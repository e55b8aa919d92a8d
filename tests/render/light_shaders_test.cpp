// SPDX-License-Identifier: Apache-2.0
/// Spot, area, volume, ambient and default lights, and photometric units, on a white card at z = 0 against
/// what they are computed from here.
#include "rendered_scene.h"
#include "scene_parts.h"

#include <cmath>
#include <numbers>

namespace orca::test {
namespace {

constexpr double pi = std::numbers::pi;

/// A point on the card: the picture's value there.
using Expected = std::function<double(double x, double y)>;

struct LightCase {
    const char* name;
    std::string light;     ///< shader and parameters
    std::string statement; ///< of the light
    std::string placement; ///< into its space
    Expected expected;
    double tolerance = 1e-4; ///< relative, of values near 1
    friend void PrintTo(const LightCase& c, std::ostream* out) { *out << c.name; }
};

const std::string above = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -2 1"; ///< at (0, 0, 2), -z to the card
const std::string spot = "origin 0 0 0 direction 0 0 -1 spread 0", point = "origin 0 0 0";
constexpr double height = 2.0;

double degrees(double tangent) {
    return std::atan(tangent) * 180 / pi;
}
double cosineAt(double x, double y) {
    return height / std::hypot(x, y, height);
}
double squaredDistance(double x, double y) {
    return x * x + y * y + height * height;
}
double smooth(double t) {
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// Form factor of the square between -1 and 1 around (cx, cy, cz), whose first axis is x and whose normal
/// lies in the yz plane, on the card; its front alone.
double squareFormFactor(double x, double y, double cy, double cz, double angle, bool disc = false) {
    constexpr int n = 300;
    const double ny = std::sin(angle), nz = -std::cos(angle); // of the front
    double sum = 0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double s = 2 * (i + 0.5) / n - 1, t = 2 * (j + 0.5) / n - 1;
            if (disc && s * s + t * t > 1) continue;
            const double dx = s - x, dy = cy - t * nz - y, dz = cz + t * ny;
            const double square = dx * dx + dy * dy + dz * dz;
            const double front = -(dy * ny + dz * nz);
            sum += std::max(0.0, dz) * std::max(0.0, front) / (square * square) * 4 / (n * n);
        }
    return sum / pi;
}
/// Places a light at (0, y, z), turned about x so that its front looks along (0, sin, -cos).
std::string tilted(double y, double z, double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    // Columns are the light's axes: x, (0, c, s), (0, -s, c).
    return fmt::format("transform 1 0 0 0 0 {} {} 0 0 {} {} 0 0 {} {} 1", c, -s, s, c, -(y * c + z * s),
                       -(-y * s + z * c));
}

std::vector<LightCase> lightCases() {
    const std::string cone = "\"coneAngle\" 60, \"useRayTraceShadows\" off";
    return {
        {"SpotIsHardWithoutPenumbra", "\"orcaVelaSpotLight\" ( " + cone + " )", spot, above,
         [](double x, double y) { return degrees(std::hypot(x, y) / height) < 30 ? cosineAt(x, y) : 0.0; }},
        {"SpotFadesOutsideItsConeAndDropsOff",
         "\"orcaVelaSpotLight\" ( \"penumbraAngle\" 8, \"dropoff\" 3, " + cone + " )", point, above,
         [](double x, double y) {
             return std::pow(cosineAt(x, y), 4) * smooth((38 - degrees(std::hypot(x, y) / height)) / 8);
         }},
        {"SpotHasBarnDoors",
         "\"orcaVelaSpotLight\" ( \"useBarnDoors\" on, \"barnDoorLeft\" 10, \"barnDoorTop\" 5, " + cone +
             " )",
         point, above,
         [](double x, double y) {
             const bool open = degrees(-x / height) < 10 && degrees(x / height) < 20 &&
                               degrees(y / height) < 5 && degrees(-y / height) < 20;
             return open && degrees(std::hypot(x, y) / height) < 30 ? cosineAt(x, y) : 0.0;
         }},
        {"SpotFadesInsideItsConeAndHasRegionsAndCurves",
         "\"orcaVelaSpotLight\" ( \"penumbraAngle\" -12, \"useDecayRegions\" on, \"regionStart1\" 2, "
         "\"regionEnd1\" 2.2, "
         "\"intensityCurve\" [ { \"position\" 2, \"value\" 0, \"interpolation\" 1 }, { \"position\" 3, "
         "\"value\" 10 } ], " +
             cone + " )",
         point, above,
         [](double x, double y) {
             const double distance = std::sqrt(squaredDistance(x, y));
             const double inside = smooth((30 - degrees(std::hypot(x, y) / height)) / 12);
             return distance < 2.2 ? 10 * (distance - 2) * cosineAt(x, y) * inside : 0.0;
         }},
        {"SpotProjectsASlide", // its right half, seen from behind the lamp, is lit, and more to the rim
         "\"orcaVelaSpotLight\" ( \"color\" = \"half\", " + cone + " )", spot, above,
         [](double x, double y) {
             const double u = 0.5 + 0.5 * x / (height * std::tan(pi / 6));
             return u > 0.5 && degrees(std::hypot(x, y) / height) < 30 ? 2 * (u - 0.5) * cosineAt(x, y) : 0.0;
         }},
        {"PictureOnALampWithShadowRays",
         "\"orcaVelaAreaLight\" ( \"color\" = \"half\", \"intensity\" 3, \"shadowRays\" 512 )", point, above,
         [](double x, double y) { // from the front, its right half is the light's left
             double sum = 0;
             for (int i = 0; i < 100; ++i)
                 for (int j = 0; j < 100; ++j) {
                     const double s = (i + 0.5) / 50 - 1, t = (j + 0.5) / 50 - 1;
                     sum += s < 0 ? -s * std::pow(squaredDistance(x - s, y - t), -2.0) : 0.0;
                 }
             return 3 * sum * height * height * 4e-4 / pi;
         },
         0.02},
        {"RectangleCutByTheHorizon", "\"orcaVelaAreaLight\" ( \"intensity\" 3, \"useRayTraceShadows\" off )",
         point, tilted(0.5, 0.4, 0.3),
         [](double x, double y) { return 3 * squareFormFactor(x, y, 0.5, 0.4, 0.3); }, 0.01},
        {"DiscWithShadowRays", "\"orcaVelaAreaLight\" ( \"intensity\" 3, \"shape\" 1 )", point,
         tilted(0.5, 0.7, 0.4),
         [](double x, double y) { return 3 * squareFormFactor(x, y, 0.5, 0.7, 0.4, true); }, 0.01},
        {"AreaInLumenOfBothSides",
         "\"orcaVelaAreaLight\" ( \"intensity\" 100, \"units\" 1, \"twoSided\" on, \"decayRate\" 0 )", point,
         above, [](double x, double y) { return 100 / (2 * pi * 4) * squareFormFactor(x, y, 0, height, 0); },
         0.01},
        {"PointInLumen", "\"orcaVelaPointLight\" ( \"intensity\" 100, \"units\" 1, \"decayRate\" 1 )", point,
         above,
         [](double x, double y) { return 100 / (4 * pi) * cosineAt(x, y) / squaredDistance(x, y) / pi; }},
        {"PointInNit", "\"orcaVelaPointLight\" ( \"intensity\" 1000, \"units\" 3, \"lightRadius\" 0.1 )",
         point, above,
         [](double x, double y) { return 1000 * pi * 0.01 * cosineAt(x, y) / squaredDistance(x, y) / pi; }},
        {"SpotInLumen",
         "\"orcaVelaSpotLight\" ( \"intensity\" 100, \"units\" 1, \"dropoff\" 2, \"coneAngle\" 120 )", point,
         above,
         [](double x, double y) {
             const double candela = 100 / (2 * pi * (1 - 0.125) / 3);
             return candela * std::pow(cosineAt(x, y), 3) / squaredDistance(x, y) / pi;
         }},
        {"SunInLux", "\"orcaVelaDirectionalLight\" ( \"intensity\" 5, \"units\" 3 )", "direction 0 0 -1",
         above, [](double, double) { return 5 / pi; }},
        {"SphereFadesOutward", "\"orcaVelaVolumeLight\" ( )", point,
         "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -0.5 1",
         [](double x, double y) {
             const double r = std::hypot(x, y, 0.5);
             return std::max(0.0, 1 - r) * 0.5 / r;
         }},
        {"ConeShinesDown",
         "\"orcaVelaVolumeLight\" ( \"shape\" 3, \"volumeDirection\" 2, \"coneEndRadius\" 0.5, \"arc\" 90 )",
         point, "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -0.5 1",
         [](double x, double y) {
             return std::hypot(x, y) < 0.875 && x > 0 && y > 0 ? 0.25 : 0.0; // at z = -0.5 of the cone
         }},
        {"TorusShinesInward", "\"orcaVelaVolumeLight\" ( \"shape\" 4, \"volumeDirection\" 1 )", point,
         "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0.1 1",
         [](double x, double y) {
             const double dx = std::hypot(x, y) - 0.75, r = std::hypot(dx, 0.1);
             return r < 0.25 ? r / 0.25 * 0.1 / r : 0.0;
         }},
        {"AmbientIsEvenInPart", "\"orcaVelaAmbientLight\" ( \"ambientShade\" 0.6 )", point, above,
         [](double x, double y) { return 0.4 + 0.6 * cosineAt(x, y); }},
        {"DefaultFollowsTheView", "\"orcaVelaDefaultLight\" ( )", "direction 1 0 0", above,
         [](double, double) { return 1.0; }},
    };
}

class LightShader : public ::testing::TestWithParam<LightCase> {};

TEST_P(LightShader, LightsAsComputed) {
    const LightCase& c = GetParam();
    TestScene scene;
    scene.contents =
        "shader \"half\" \"velaRamp\" ( \"type\" 1, \"entries\" [ { \"position\" 0.5, \"value\" 0 0 0 1, "
        "\"interpolation\" 1 }, { \"position\" 1, \"value\" 1 1 1 1 } ] )\n"
        "light \"dark\" \"orcaVelaAreaLight\" ( \"intensity\" 0 ) origin 0 0 1 end light\n" // leaves nothing
        "instance \"before\" \"dark\" end instance\nlight \"lamp\" " +
        c.light + " " + c.statement + " end light\ninstance \"lamp_inst\" \"lamp\" " + c.placement +
        " end instance\n" + lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1") +
        card("wall", "white", 0, 0, 0, 2);
    const RenderedScene picture(scene);
    int lit = 0;
    picture.eachPixel([&](int i, int j) {
        const double expected = c.expected((i + 0.5) / 4 - 2, (j + 0.5) / 4 - 2);
        EXPECT_NEAR(picture.pixel("main", i, j).r, expected, c.tolerance * std::max(0.1, expected));
        lit += expected > 0.01;
    });
    EXPECT_GT(lit, 4);
}
INSTANTIATE_TEST_SUITE_P(Lights, LightShader, ::testing::ValuesIn(lightCases()),
                         [](const auto& test) { return std::string(test.param.name); });

/// A rectangle past a half plane: every part of the lamp counts by the light that it sends.
TEST(AreaLightShadow, IsTheIrradianceOfTheVisiblePart) {
    TestScene scene;
    scene.contents =
        "light \"lamp\" \"orcaVelaAreaLight\" ( \"intensity\" 4, \"shadowRays\" 1024 ) origin 0 0 0 end "
        "light\ninstance \"lamp_inst\" \"lamp\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -1 1 end "
        "instance\n" +
        lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1") + card("wall", "white", 0, 0, 0, 2) +
        card("occluder", "white", -8, 0, 0.5f, 8, "visible off");
    const RenderedScene picture(scene);
    for (int i = 0; i < 16; ++i) {
        const double x = (i + 0.5) / 4 - 2, y = 0.125;
        double expected = 0;
        constexpr int n = 600;
        for (int k = 0; k < n * n; ++k) {
            const double dx = 2 * (k / n + 0.5) / n - 1 - x, dy = 2 * (k % n + 0.5) / n - 1 - y;
            if (x + 0.5 * dx < 0) continue; // meets the occluder at half height
            expected += 4 / std::pow(dx * dx + dy * dy + 1, 2) * 4 / (n * n) / pi;
        }
        EXPECT_NEAR(picture.pixel("main", i, 8).r, expected, 0.015 * std::max(0.2, expected)) << x;
    }
}

/// A ray that meets the lamp shows its radiance; its back is black.
TEST(AreaLightLamp, ShowsItsRadiance) {
    for (const double angle : {pi, 0.0}) { // its front toward the camera, and away
        TestScene scene;
        scene.contents =
            "light \"lamp\" \"orcaVelaAreaLight\" ( \"intensity\" 0.7, \"units\" 3 ) origin 0 0 0 "
            "rectangle 2 0 0 0 2 0 1 1 visible end light\ninstance \"lamp_inst\" \"lamp\" " +
            tilted(0, 0, angle) + " end instance\n";
        EXPECT_NEAR(RenderedScene(scene).middle().r, angle > 0 ? 0.7 : 0.0, 1e-5);
    }
}

TEST(LightUnits, ThatALightHasNotAreNamed) {
    TestScene scene;
    scene.contents = pointLight("lamp", "\"units\" 3", 0, 0, 2) +
                     directionalLight("sun", "\"units\" 1", "0 0 -1") + lambert("white", "") +
                     card("wall", "white", 0, 0, 0, 2);
    const RenderedScene picture(scene.text());
    EXPECT_TRUE(picture.logged("vela_pointlight(): units 3 (nit) need a lamp with a size."));
    EXPECT_TRUE(picture.logged("vela_directionallight(): units must be 0 or 3 (lux)."));
    EXPECT_EQ(picture.middle().r, 0.0f);
}

} // namespace
} // namespace orca::test

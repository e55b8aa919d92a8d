// SPDX-License-Identifier: Apache-2.0
#include "scene_parts.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>

namespace orca::test {

namespace {

/// Parent to local: the inverse of moving to (x, y, z).
std::string placedAt(float x, float y, float z) {
    return fmt::format("transform 1 0 0 0 0 1 0 0 0 0 1 0 {} {} {} 1", -x, -y, -z);
}

} // namespace

std::string lambert(const std::string& name, const std::string& parameters,
                    const std::string& shadowTransparency) {
    return surface(name, "orcaVelaLambert", parameters, shadowTransparency);
}

std::string surface(const std::string& name, const std::string& shader, const std::string& parameters,
                    const std::string& shadowTransparency) {
    return fmt::format("shader \"{0}_surface\" \"{3}\" ( {1} )\n"
                       "material \"{0}\"\n\"orcaVelaShadingEngine\" ( \"surfaceShader\" \"{0}_surface\" )\n"
                       "shadow \"orcaVelaShadow\" ( \"transparency\" {2} )\nend material\n",
                       name, parameters, shadowTransparency, shader);
}

std::string white() {
    return lambert("white", "\"color\" 1 1 1 1, \"diffuse\" 1");
}

std::string mirror(const std::string& name, float reflectivity, const std::string& parameters) {
    return surface(name, "orcaVelaPhong",
                   fmt::format("\"color\" 0 0 0 1, \"specularColor\" 1 1 1 1, \"reflectivity\" {}{}{}",
                               reflectivity, parameters.empty() ? "" : ", ", parameters));
}

std::string glowing(const std::string& name, const std::string& color) {
    return lambert(name, "\"color\" 0 0 0 1, \"incandescence\" " + color + " 1");
}

std::string card(const std::string& name, const std::string& material, float x, float y, float z, float half,
                 const std::string& instanceStatements) {
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                       "-{1} -{1} 0 {1} -{1} 0 {1} {1} 0 -{1} {1} 0\nv 0 v 1 v 2 v 3\np \"{2}\" 0 1 2 3\n"
                       "end group end object\n"
                       "instance \"{0}\" \"{0}_mesh\" {3} {4} end instance\n",
                       name, half, material, placedAt(x, y, z), instanceStatements);
}

std::string turnedCard(const std::string& name, const std::string& material, float x, float y, float z,
                       float half, float degrees) {
    const float angle = degrees * std::numbers::pi_v<float> / 180.0f;
    const float c = std::cos(angle), s = std::sin(angle);
    // Parent to local: moved back, then turned back.
    std::string text = card(name, material, 0, 0, 0, half);
    const std::string unplaced = placedAt(0, 0, 0);
    return text.replace(text.find(unplaced), unplaced.size(),
                        fmt::format("transform 1 0 0 0 0 {0} {1} 0 0 {2} {0} 0 {3} {4} {5} 1", c, -s, s, -x,
                                    -(y * c + z * s), -(-y * s + z * c)));
}

std::string sheet(const std::string& name, const std::string& material, float height) {
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                       "-20 {2} 20 20 {2} 20 20 {2} -20 -20 {2} -20\nv 0 v 1 v 2 v 3\np \"{1}\" 0 1 2 3\n"
                       "end group end object\ninstance \"{0}\" \"{0}_mesh\" end instance\n",
                       name, material, height);
}

std::string box(const std::string& name, const std::string& material, float x, float y, float z) {
    std::string text = fmt::format("object \"{}_mesh\" visible shadow trace group\n", name);
    for (int i = 0; i < 8; ++i)
        text += fmt::format("{} {} {}\n", i & 1 ? x : -x, i & 2 ? y : -y, i & 4 ? z : -z);
    for (int i = 0; i < 8; ++i) text += fmt::format("v {} ", i);
    text += "\n";
    for (const char* face : {"0 2 3 1", "4 5 7 6", "0 1 5 4", "2 6 7 3", "0 4 6 2", "1 3 7 5"})
        text += fmt::format("p \"{}\" {}\n", material, face);
    return text + fmt::format("end group end object\ninstance \"{0}\" \"{0}_mesh\" end instance\n", name);
}

std::string sphere(const std::string& name, const std::string& material, int rings,
                   const std::string& instanceStatements) {
    constexpr double pi = std::numbers::pi;
    std::string points, vertices, polygons;
    const int columns = 2 * rings;
    for (int ring = 0; ring <= rings; ++ring)
        for (int column = 0; column < columns; ++column) {
            const double theta = pi * ring / rings, phi = 2 * pi * column / columns;
            points += fmt::format("{:.8f} {:.8f} {:.8f}\n", std::sin(theta) * std::cos(phi), std::cos(theta),
                                  std::sin(theta) * std::sin(phi));
            vertices += fmt::format("v {0} n {0} ", ring * columns + column);
        }
    for (int ring = 0; ring < rings; ++ring)
        for (int column = 0; column < columns; ++column) {
            const int here = ring * columns + column, beside = ring * columns + (column + 1) % columns;
            // Quadrilaterals at the poles have two coincident corners; triangles replace them.
            polygons += fmt::format("p \"{}\" {}", material, here);
            if (ring > 0) polygons += fmt::format(" {}", beside);
            if (ring + 1 < rings) polygons += fmt::format(" {}", beside + columns);
            polygons += fmt::format(" {}\n", here + columns);
        }
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n{1}{2}\n{3}end group end object\n"
                       "instance \"{0}\" \"{0}_mesh\" {4} end instance\n",
                       name, points, vertices, polygons, instanceStatements);
}

std::string pointLight(const std::string& name, const std::string& parameters, float x, float y, float z,
                       const std::string& instanceStatements, const std::string& lightStatements) {
    return fmt::format("light \"{0}\" \"orcaVelaPointLight\" ( {1} ) origin 0 0 0 {4} end light\n"
                       "instance \"{0}_inst\" \"{0}\" {2} {3} end instance\n",
                       name, parameters, placedAt(x, y, z), instanceStatements, lightStatements);
}

std::string directionalLight(const std::string& name, const std::string& parameters,
                             const std::string& direction, const std::string& instanceStatements) {
    return fmt::format("light \"{0}\" \"orcaVelaDirectionalLight\" ( {1} ) direction {2} end light\n"
                       "instance \"{0}_inst\" \"{0}\" {3} end instance\n",
                       name, parameters, direction, instanceStatements);
}

std::string passMask(const std::string& name, const std::string& digits) {
    return fmt::format("data \"{}\" \"orcaPassMask\" ( \"mask\" \"{}\" ) end data\n", name, digits);
}

} // namespace orca::test

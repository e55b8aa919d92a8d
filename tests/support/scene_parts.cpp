// SPDX-License-Identifier: Apache-2.0
#include "scene_parts.h"

#include <fmt/format.h>

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

std::string card(const std::string& name, const std::string& material, float x, float y, float z, float half,
                 const std::string& instanceStatements) {
    return fmt::format("object \"{0}_mesh\" visible shadow trace group\n"
                       "-{1} -{1} 0 {1} -{1} 0 {1} {1} 0 -{1} {1} 0\nv 0 v 1 v 2 v 3\np \"{2}\" 0 1 2 3\n"
                       "end group end object\n"
                       "instance \"{0}\" \"{0}_mesh\" {3} {4} end instance\n",
                       name, half, material, placedAt(x, y, z), instanceStatements);
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

std::string pointLight(const std::string& name, const std::string& parameters, float x, float y, float z,
                       const std::string& instanceStatements) {
    return fmt::format("light \"{0}\" \"orcaVelaPointLight\" ( {1} ) origin 0 0 0 end light\n"
                       "instance \"{0}_inst\" \"{0}\" {2} {3} end instance\n",
                       name, parameters, placedAt(x, y, z), instanceStatements);
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

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "build_paths.h"
#include "pictures.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace orca::image::test {

inline constexpr const char* grayCard = R"(
options "opt"  object space  samples 0 0  trace depth 1 1 1  end options
camera "cam"
    framebuffer "main" datatype "rgba_fp" primary on
    framebuffer "depth" datatype "z"
    resolution 16 8  aspect 2.0  aperture 1.0  focal 1.0
end camera
object "card"  visible on  shadow on  trace on
    group
        -1 -1 0   1 -1 0   1 1 0   -1 1 0   0 0 1
        v 0 n 4   v 1 n 4   v 2 n 4   v 3 n 4
        p 0 1 2 3
    end group
end object
instance "card_inst" "card"  tag 7  end instance
instance "cam_inst" "cam"  transform 1 0 0 0  0 1 0 0  0 0 1 0  0 0 -4 1  end instance
instgroup "world"  "cam_inst" "card_inst"  end instgroup
)";
inline constexpr const char* renderIt = "render \"world\" \"cam_inst\" \"opt\"\n";

/// Values that --pixel printed for a layer.
inline std::vector<double> layerValues(const std::string& output, const std::string& layer) {
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        if (!(words >> name) || name != layer) continue;
        std::vector<double> values;
        for (double value; words >> value;) values.push_back(value);
        return values;
    }
    return {};
}

/// A lit card in front of another; --passes has everything to do.
inline const std::string litCards = "link \"orca.so\"\n$include <orca.mi>\n" + std::string(grayCard) + R"(
light "sun" "orcaVelaDirectionalLight" ( "intensity" 1.0, "color" 1 1 1 1, "useRayTraceShadows" on )
    direction 0 0 -1
end light
instance "sun_inst" "sun" end instance
shader "red" "orcaVelaLambert" ( "color" 0.6 0.2 0.1 1, "diffuse" 1.0 )
material "red_mtl" "orcaVelaShadingEngine" ( "surfaceShader" "red" ) end material
instance "front" "card" material "red_mtl" transform 1 0 0 0  0 1 0 0  0 0 1 0  -1 0 -1 1 end instance
incremental instance "card_inst" material "red_mtl" end instance
incremental instgroup "world"  "cam_inst" "card_inst" "front" "sun_inst" end instgroup
)";

struct Command : ::testing::Test {
    /// Runs the command in the test's own directory; `output` receives what it prints, errors included.
    int run(const std::string& arguments, const std::string& before = "") {
        return runTool(std::filesystem::path(build_paths::renderCommand).filename().string(), arguments,
                       before);
    }
    /// Another command of the same folder.
    int runTool(const std::string& tool, const std::string& arguments, const std::string& before = "") {
        const std::filesystem::path path =
            std::filesystem::path(build_paths::renderCommand).replace_filename(tool);
        const std::string line =
            fmt::format("cd '{}' && {} '{}' {} 2>&1", directory.path(), before, path.string(), arguments);
        std::FILE* pipe = ::popen(line.c_str(), "r");
        if (!pipe) return -1;
        output.clear();
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
        const int status = ::pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    /// A call of the command: its arguments, its exit code, and parts of what it prints.
    struct Call {
        std::string arguments;
        int exitCode;
        std::vector<std::string> prints;
    };
    void expectCalls(const std::vector<Call>& calls) {
        for (const auto& [arguments, exitCode, prints] : calls) {
            EXPECT_EQ(run(arguments), exitCode) << arguments << ": " << output;
            for (const std::string& part : prints) EXPECT_TRUE(says(part)) << arguments << ": " << output;
        }
    }
    void scene(const std::string& name, const std::string& text) { directory.write(name, text); }
    [[nodiscard]] std::string content(const std::string& name) const { return directory.content(name); }
    [[nodiscard]] bool exists(const std::string& name) const {
        return std::filesystem::exists(directory.file(name));
    }
    [[nodiscard]] bool says(const std::string& text) const { return output.find(text) != std::string::npos; }

    TemporaryDirectory directory;
    std::string output;
};

} // namespace orca::image::test

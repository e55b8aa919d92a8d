// SPDX-License-Identifier: Apache-2.0
#include "scene_pair.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace orca::bench {

namespace {

/// A temporary scene file, removed with the object.
class SceneFile {
public:
    explicit SceneFile(const std::string& text)
        : path_(std::filesystem::temp_directory_path() / fmt::format("orca-bench-{}.mi", getpid())) {
        std::ofstream(path_) << text;
    }
    ~SceneFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;
    [[nodiscard]] ScenePaths paths() const {
        return {path_.string(), {ORCA_BENCH_DECLARATIONS, ORCA_BENCH_SCENES}, {ORCA_BENCH_LIBRARIES}};
    }

private:
    std::filesystem::path path_;
};

} // namespace

std::string sceneHead(int passes, const std::string& shadow) {
    return fmt::format(
        "link \"velabase.so\"\nlink \"orca.so\"\n$include <velabase.mi>\n$include <orca.mi>\n"
        "options \"quality\" object space samples 0 0 filter box 1 1 trace on trace depth 1 1 2 shadow {}\n"
        "state \"velaBaseState\" ( ) \"orcaFrameBufferState\" ( ) end options\n"
        "$include <bench_camera_{}.mi>\n"
        "instance \"camera here\" \"camera\" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1 end instance\n",
        shadow, passes);
}

std::string fillingCard() {
    return "object \"card\" visible on trace on shadow on group\n"
           "-20 -20 0 20 -20 0 20 20 0 -20 20 0 0 0 1\nv 0 n 4 v 1 n 4 v 2 n 4 v 3 n 4\np \"stuff\" 0 1 2 3\n"
           "end group end object\ninstance \"card here\" \"card\" end instance\n";
}

ScenePair::ScenePair(const std::string& once, const std::string& often, int extra)
    : once_(SceneFile(once).paths(), ""), often_(SceneFile(often).paths(), ""), extra_(extra) {
}

void ScenePair::run() {
    onceSeconds_ = std::min(onceSeconds_, seconds(once_));
    oftenSeconds_ = std::min(oftenSeconds_, seconds(often_));
}

double ScenePair::nanoseconds() const {
    return (oftenSeconds_ - onceSeconds_) * 1e9 / (extra_ * samples_);
}

double ScenePair::seconds(LoadedScene& scene) {
    const std::clock_t begin = std::clock();
    const auto result = scene.render(1, [](render::Picture& picture) { picture.setResolution(256, 144); });
    const std::clock_t end = std::clock();
    samples_ = static_cast<double>(result->statistics.rays.samples);
    return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

} // namespace orca::bench

// SPDX-License-Identifier: Apache-2.0
#include "loaded_scene.h"

#include <stdexcept>

namespace orca::bench {

LoadedScene::LoadedScene(const ScenePaths& paths, const std::string& passes)
    : log_(LogLevel::Error), // layers that stay black are expected here, and no news
      scene_(log_),
      runtime_(scene_.database(), log_),
      textures_(log_, {}) {
    scene::ParserOptions options;
    options.includePaths = paths.includes;
    options.verbosityFixed = true;
    if (!passes.empty()) options.variables["passes"] = passes;
    scene::ParserCallbacks callbacks;
    callbacks.link = [&](const std::string& file, const SourceLocation& location) {
        return runtime_.loadLibrary(file, paths.libraries, location);
    };
    callbacks.render = [&](const scene::RenderRequest& request) {
        request_ = request;
        return true;
    };
    if (!scene_.parseFile(paths.file, options, callbacks))
        throw std::runtime_error("\"" + paths.file + "\" cannot be read");
    if (request_.group == miNULLTAG)
        throw std::runtime_error("\"" + paths.file + "\" has no render statement");
}

std::unique_ptr<render::FrameResult> LoadedScene::render(int threads) {
    render::RenderSettings settings;
    settings.threads = threads;
    return render(settings);
}

std::unique_ptr<render::FrameResult> LoadedScene::render(const render::RenderSettings& settings) {
    render::Session session(scene_.database(), log_, runtime_, textures_);
    const int errorsBefore = log_.count(LogLevel::Error);
    auto result = session.render(request_.group, request_.cameraInstance, request_.options, settings);
    if (!result || log_.count(LogLevel::Error) > errorsBefore) throw std::runtime_error("rendering failed");
    return result;
}

} // namespace orca::bench

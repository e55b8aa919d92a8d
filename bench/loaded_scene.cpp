// SPDX-License-Identifier: Apache-2.0
#include "loaded_scene.h"

#include <stdexcept>
#include <utility>

namespace orca::bench {

LoadedScene::LoadedScene(const ScenePaths& paths, const std::string& passes)
    : log_(LogLevel::Error), // black layers are expected here: no warnings
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

std::unique_ptr<render::FrameResult>
LoadedScene::render(int threads, const std::function<void(render::Picture&)>& change) {
    const int errorsBefore = log_.count(LogLevel::Error);
    const auto elements = render::pictureElements(scene_.database(), request_, log_);
    if (!elements) throw std::runtime_error("the scene's render statement names too little");
    render::Picture picture(scene_.database(), *elements, log_);
    if (change) change(picture);
    render::RenderSettings settings;
    settings.threads = threads;
    render::Session session(scene_.database(), log_, runtime_, textures_);
    auto result = session.render(std::move(picture), settings);
    if (!result || log_.count(LogLevel::Error) > errorsBefore) throw std::runtime_error("rendering failed");
    return result;
}

} // namespace orca::bench

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/textures.h"
#include "render/session.h"
#include "scene/language/scene_file.h"
#include "shading/shader_runtime.h"

#include <memory>
#include <string>
#include <vector>

namespace orca::bench {

/// Where a scene and what it asks for are found.
struct ScenePaths {
    std::string file;
    std::vector<std::string> includes;  ///< of declarations
    std::vector<std::string> libraries; ///< of shader libraries
};

/// A scene in memory, ready to be rendered any number of times.
class LoadedScene {
public:
    /// Reads the scene with its variable "passes" set, unless that is empty. Throws std::runtime_error when
    /// the scene has errors or renders nothing; what is wrong with it has been printed by then.
    LoadedScene(const ScenePaths& paths, const std::string& passes);

    /// Renders the scene's last picture. Throws std::runtime_error when it fails.
    std::unique_ptr<render::FrameResult> render(int threads);
    /// The same with settings over the scene's own.
    std::unique_ptr<render::FrameResult> render(const render::RenderSettings& settings);

    [[nodiscard]] scene::Database& database() { return scene_.database(); }
    [[nodiscard]] Log& log() { return log_; }
    [[nodiscard]] shading::ShaderRuntime& runtime() { return runtime_; }
    [[nodiscard]] image::Textures& textures() { return textures_; }
    [[nodiscard]] const scene::RenderRequest& request() const { return request_; }

private:
    Log log_;
    scene::Scene scene_;
    shading::ShaderRuntime runtime_;
    image::Textures textures_;
    scene::RenderRequest request_;
};

} // namespace orca::bench

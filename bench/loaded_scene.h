// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/textures.h"
#include "render/session.h"
#include "scene/language/scene_file.h"
#include "shading/shader_runtime.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orca::bench {

/// Paths of a scene and of what it includes and links.
struct ScenePaths {
    std::string file;
    std::vector<std::string> includes;  ///< of declarations
    std::vector<std::string> libraries; ///< of shader libraries
};

/// A scene in memory, ready to be rendered any number of times.
class LoadedScene {
public:
    /// Reads the scene with its variable "passes" set, unless that is empty. Throws std::runtime_error when
    /// the scene has errors or renders nothing; the reasons have been printed by then.
    LoadedScene(const ScenePaths& paths, const std::string& passes);

    /// Renders the scene's last picture. Throws std::runtime_error when it fails.
    /// @param change puts settings in place of the scene's; may be empty
    std::unique_ptr<render::FrameResult> render(int threads,
                                                const std::function<void(render::Picture&)>& change = {});

    [[nodiscard]] scene::Database& database() { return scene_.database(); }
    [[nodiscard]] Log& log() { return log_; }
    [[nodiscard]] const scene::RenderRequest& request() const { return request_; }

private:
    Log log_;
    scene::Scene scene_;
    shading::ShaderRuntime runtime_;
    image::Textures textures_;
    scene::RenderRequest request_;
};

} // namespace orca::bench

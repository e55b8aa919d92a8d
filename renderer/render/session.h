// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/textures.h"
#include "render/frame_result.h"
#include "render/picture.h"
#include "render/render_settings.h"
#include "scene/database.h"
#include "shading/shader_runtime.h"

#include <shader.h>

#include <memory>

namespace orca::render {

/// Renders pictures of one scene. The shader interface's functions act on the session that is rendering;
/// there is one at a time in a process.
class Session {
public:
    Session(scene::Database& database, Log& log, shading::ShaderRuntime& runtime, image::Textures& textures);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Makes the light maps that materials ask for, then the picture, unless the options want light maps
    /// only: the result's film is black then. Null, with a message, when there is too little memory for the
    /// picture, or when its checkpoint cannot be used.
    std::unique_ptr<FrameResult> render(Picture picture, const RenderSettings& settings);

private:
    scene::Database& database_;
    Log& log_;
    shading::ShaderRuntime& runtime_;
    image::Textures& textures_;
    miLock globalLock_;
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/framebuffers.h"
#include "image/picture_file.h"
#include "image/textures.h"
#include "render/context/render_context.h"
#include "render/film/film.h"
#include "scene/database.h"
#include "shading/shader_runtime.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace orca::render {

/// What a user asks for over the scene's own settings.
struct RenderSettings {
    int threads = 0; ///< 0: all processors
    std::optional<std::pair<int, int>> resolution;
    std::optional<PixelWindow> window;
    std::optional<std::pair<int, int>> samples; ///< least and largest level
    std::optional<int> tileSize;                ///< pixels
    const std::atomic<bool>* stop = nullptr;    ///< set by a signal; the render ends soon after
    std::function<void(double share)> progress; ///< called from one thread at a time, 0 to 1
};

struct RenderStatistics {
    RayCounts rays;
    double buildSeconds = 0.0, renderSeconds = 0.0;
    std::size_t triangles = 0, meshInstances = 0, lights = 0;
    std::size_t filmBytes = 0;
    int threads = 0;
};

/// A rendered picture: layers and what describes them.
class FrameResult {
public:
    FrameResult(std::unique_ptr<image::FramebufferSet> framebuffers, const miCamera& camera);

    [[nodiscard]] const image::FramebufferSet& framebuffers() const { return *framebuffers_; }
    [[nodiscard]] std::vector<image::Layer> layers() const { return film->layers(); }
    [[nodiscard]] const image::PictureFrame& frame() const { return frame_; }
    [[nodiscard]] image::PictureFrame& frame() { return frame_; }

    std::unique_ptr<Film> film;
    RenderStatistics statistics;
    bool interrupted = false;
    std::vector<std::string> unwritten; ///< user buffers that no shader wrote

private:
    std::unique_ptr<image::FramebufferSet> framebuffers_;
    image::PictureFrame frame_;
};

/// Renders pictures of one scene. The shader interface's functions act on the session that is rendering;
/// there is one at a time in a process.
class Session {
public:
    Session(scene::Database& database, Log& log, shading::ShaderRuntime& runtime, image::Textures& textures);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Null, with messages, when the request names no group, camera instance or options.
    std::unique_ptr<FrameResult> render(miTag group, miTag cameraInstance, miTag options,
                                        const RenderSettings& settings);

private:
    scene::Database& database_;
    Log& log_;
    shading::ShaderRuntime& runtime_;
    image::Textures& textures_;
    miLock globalLock_;
};

} // namespace orca::render

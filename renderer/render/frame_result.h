// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"
#include "image/sample_blocks.h"
#include "render/context/render_context.h"
#include "render/film/deep_film.h"
#include "render/film/film.h"
#include "render/picture.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orca::render {

struct RenderStatistics {
    RayCounts rays;
    double buildSeconds = 0.0, renderSeconds = 0.0;
    std::size_t triangles = 0, hairSegments = 0, meshInstances = 0, lights = 0;
    std::size_t filmBytes = 0;
    int threads = 0;
};

/// A rendered picture: layers and what describes them.
class FrameResult {
public:
    /// @param film of the picture's frame buffers, never null
    FrameResult(Picture picture, std::unique_ptr<Film> film);

    [[nodiscard]] const Picture& picture() const { return picture_; }
    [[nodiscard]] Picture& picture() { return picture_; }
    [[nodiscard]] const Film& film() const { return *film_; }
    [[nodiscard]] Film& film() { return *film_; }
    [[nodiscard]] std::vector<image::Layer> layers() const { return film_->layers(); }
    [[nodiscard]] const image::PictureFrame& frame() const { return frame_; }
    [[nodiscard]] image::PictureFrame& frame() { return frame_; }

    RenderStatistics statistics;
    /// When set, the film holds the sums of these samples instead of finished layers.
    std::optional<image::SampleRange> sampleRange;
    std::unique_ptr<DeepFilm> deep; ///< null: not asked for
    std::vector<float> noisy;       ///< the film's words before noise was filtered out, where they are kept
    bool interrupted = false;
    bool isResumable = false;                 ///< it was interrupted, and a checkpoint holds what is rendered
    std::vector<std::string> unwritten;       ///< user buffers that no shader wrote
    std::vector<image::EarlierLayer> earlier; ///< what files show that output shaders have changed since

private:
    Picture picture_;
    std::unique_ptr<Film> film_; // refers to the picture's frame buffers
    image::PictureFrame frame_;
};

} // namespace orca::render

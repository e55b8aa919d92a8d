// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/denoise/denoise_settings.h"
#include "render/film/film.h"

#include <atomic>
#include <vector>

namespace orca::render {

/// Frees the layers of a picture of noise, all with the same weights (see joint_filter.h), so that layers
/// which add up to the picture still do. Layers that are no means of samples, and the guides, stay as they
/// are.
class Denoiser {
public:
    /// Takes what the film knows about its noise, before it is resolved.
    Denoiser(const DenoiseSettings& settings, const Film& film);

    /// Changes the layers of the resolved film. False when it was stopped; the layers are as they were then.
    /// @param noisy receives the film's words as they were, where the settings keep them
    bool run(Film& film, const image::FramebufferSet& buffers, std::vector<float>& noisy, int threads,
             const std::atomic<bool>* stop) const;

private:
    const DenoiseSettings& settings_;
    std::vector<float> variance_, samples_; // of the picture's pixels
};

} // namespace orca::render

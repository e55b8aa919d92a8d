// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/color_spaces.h"

#include <cstddef>
#include <memory>
#include <string>

namespace orca::image {

/// A colour configuration of OpenColorIO. What is rendered is linear light of its role "scene_linear".
class ColorConfiguration : public scene::ColorSpaces {
public:
    /// Name of the colour space that is rendered in.
    [[nodiscard]] virtual std::string renderingSpace() const = 0;
    /// Completes a choice with the defaults of the configuration, and the display. Throws std::runtime_error,
    /// with the names that exist, for one that there is not.
    virtual void choose(std::string& display, std::string& view) const = 0;
    /// Makes rendered colours, not multiplied by alpha, those of a view on a display, as `choose` has found
    /// them.
    /// @param colors of pixels that are `stride` floats apart
    virtual void show(const std::string& display, const std::string& view, float* colors, std::size_t count,
                      std::size_t stride) const = 0;
};

/// Reads a configuration file; the module of image formats is loaded for it. Throws std::runtime_error with
/// the reason when it cannot be read.
[[nodiscard]] std::unique_ptr<ColorConfiguration> colorConfiguration(const std::string& file);

/// How pictures of whole numbers show colours.
struct DisplayView {
    const ColorConfiguration* configuration = nullptr; ///< null: by the encoding of the frame
    std::string display, view;
};

} // namespace orca::image

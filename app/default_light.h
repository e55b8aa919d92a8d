// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/picture.h"
#include "scene/language/scene_file.h"

#include <optional>

namespace orca::app {

/// A light along the camera's view, so that a first scene is not black.
class DefaultLight {
public:
    /// @param wanted none: where nothing else gives light, with a warning
    DefaultLight(std::optional<bool> wanted, scene::Scene& scene) : wanted_(wanted), scene_(scene) {}

    /// Adds the light to a picture that gets it, and takes it away from one that does not, before every
    /// picture. False when the library's declarations could not be read, which has been reported.
    /// @param options, callbacks for the light's statements
    bool apply(const render::PictureElements& picture, const scene::ParserOptions& options,
               scene::ParserCallbacks callbacks);

private:
    bool define(scene::OptionsElement& options, const scene::ParserOptions& parser,
                const scene::ParserCallbacks& callbacks);

    std::optional<bool> wanted_;
    scene::Scene& scene_;
};

} // namespace orca::app

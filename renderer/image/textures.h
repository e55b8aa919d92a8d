// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements.h"
#include "scene/messages.h"

#include <shader.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orca::image {

/// Footprint of a look-up in texture space: change of (s, t) over one pixel step in x and in y. All zero:
/// unfiltered.
struct TextureFootprint {
    float dsdx = 0, dtdx = 0, dsdy = 0, dtdy = 0;
};

/// Image look-ups through one shared texture cache; safe from any thread, without a lock after a texture's
/// first look-up. A file that cannot be read is one message that names the texture and the place of its
/// statement; look-ups of it are false.
class Textures {
public:
    Textures(scene::Messages& messages, std::vector<std::string> searchPaths,
             std::size_t cacheMegabytes = 1024);
    ~Textures();
    Textures(const Textures&) = delete;
    Textures& operator=(const Textures&) = delete;

    /// (s, t) = (0, 0) is the lower left corner; integer parts are dropped. Unfiltered textures take the
    /// nearest texel, filtered ones a mip-mapped anisotropic filter over the footprint (inline pixels:
    /// bilinear). Values are those of the file; a texture whose colour profile is "sRGB" is made linear. Grey
    /// images are grey colours, images without alpha have alpha 1. False, `result` untouched, for textures
    /// that cannot be read.
    bool lookup(const scene::TextureElement& texture, float s, float t, const TextureFootprint& footprint,
                miColor& result);

    /// The image's alpha where it has one, else its intensity.
    bool lookupScalar(const scene::TextureElement& texture, float s, float t,
                      const TextureFootprint& footprint, miScalar& result);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::image

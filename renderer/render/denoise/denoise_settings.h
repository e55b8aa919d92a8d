// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orca::render {

/// What a layer tells about surfaces, so that light is not mixed between different ones.
enum class GuideKind {
    Color,  ///< a surface's own colour, 0 to 1
    Normal, ///< unit vectors
    Depth   ///< a distance; 0 where nothing is
};

/// How a finished picture is freed of noise.
struct DenoiseSettings {
    struct Guide {
        std::string buffer;
        GuideKind kind;
    };
    std::vector<Guide> guides; ///< with frame buffers that the picture has not, nothing is done
    bool keepsNoisy = false;   ///< the result has the layers as they were, too
};

} // namespace orca::render

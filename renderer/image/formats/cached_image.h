// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/inline_pixels.h"
#include "scene/elements/color_profile.h"
#include "scene/elements/color_spaces.h"

#include <OpenImageIO/imagecache.h>

#include <string>

namespace orca::image {

// Images whose values are not those of a file, given to the texture cache under a name of their own, so that
// it filters, tiles and forgets them like any other. Light has to be linear before it is filtered: hence the
// conversion before the cache and not after it.

/// Attribute of the library, 1 in specs of images whose colours are not multiplied by alpha.
inline constexpr const char* colorsApartFromAlpha = "oiio:UnassociatedAlpha";

/// Pixels of the scene. They are not copied and must outlive the cache.
bool addPixels(OIIO::ImageCache& cache, OIIO::ustring name, const InlinePixels& pixels);

/// What the colours of an image file mean.
struct ColorMeaning {
    scene::ColorProfile profile = scene::ColorProfile::Linear;
    const scene::ColorSpaces* spaces = nullptr; ///< not null: `space` of these counts. Outlive the cache
    std::string space{};

    [[nodiscard]] bool isLinear() const { return profile == scene::ColorProfile::Linear && !spaces; }
};

/// An image file whose colour channels are made linear as they are read.
bool addConvertedFile(OIIO::ImageCache& cache, OIIO::ustring name, const std::string& file,
                      const ColorMeaning& meaning);

} // namespace orca::image

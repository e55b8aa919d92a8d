// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"

#include "image/textures.h"
#include "scene/elements/elements.h"

using namespace orca;

/// An image file: opened as a texture with and without a colour profile, and looked up.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::InputFile file({reinterpret_cast<const char*>(data), size});
    Log log(LogLevel::None);
    image::Textures textures(log, {}, 16);
    for (const auto profile : {scene::ColorProfile::Linear, scene::ColorProfile::Srgb}) {
        scene::TextureElement texture;
        texture.tag = 1 + static_cast<miTag>(profile);
        texture.file = file.path();
        texture.colorProfile = profile;
        image::TextureLookup filtered;
        filtered.filtered = true;
        filtered.footprint = {0.5f, 0.0f, 0.0f, 0.5f};
        for (const image::TextureLookup& how : {image::TextureLookup{}, filtered}) {
            miColor color;
            textures.lookup(texture, 0.5f, 0.25f, how, color);
        }
    }
    return 0;
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orca::image {

/// Footprint of a look-up in texture space: change of (s, t) over one pixel step in x and in y. All zero: a
/// point.
struct Footprint {
    float dsdx = 0, dtdx = 0, dsdy = 0, dtdy = 0;
};

/// How a texture is looked up.
struct TextureLookup {
    enum class Wrap { Repeat, Clamp, Mirror };
    /// Interpolation between texels where the footprint is smaller than one.
    enum class Magnified { Bilinear, Cubic };

    Footprint footprint;
    bool filtered = false; ///< false: the nearest texel
    Wrap wrapS = Wrap::Repeat, wrapT = Wrap::Repeat;
    Magnified magnified = Magnified::Bilinear;
};

/// True for films, by the extension of the name: a decoder of theirs may open what else they refer to. A
/// still image is one file.
[[nodiscard]] bool isFilm(const std::string& path);

/// The image look-ups of `Textures`, in the module of the image formats.
class TextureCache {
public:
    virtual ~TextureCache() = default;
    virtual void setFrame(int frame) = 0;
    virtual void forget(const scene::TextureElement& texture) = 0;
    virtual bool lookup(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                        miColor& result) = 0;
    virtual bool lookupScalar(const scene::TextureElement& texture, float s, float t,
                              const TextureLookup& how, miScalar& result) = 0;
};

/// Image look-ups through one shared texture cache; safe from any thread, without a lock after a texture's
/// first look-up. Names may stand for the file of a frame (`#`) and for tiles (<UDIM>), which are looked up
/// at coordinates from 0 to 10 and do not repeat; where there is no tile, look-ups are false. A file that
/// cannot be read is one message that names the texture and the place of its statement; look-ups of it are
/// false. The image library is loaded at the first look-up.
class Textures {
public:
    Textures(Log& log, std::vector<std::string> searchPaths, std::size_t cacheMegabytes = 1024);
    ~Textures();
    Textures(const Textures&) = delete;
    Textures& operator=(const Textures&) = delete;

    /// Of the pictures that follow, for names with number signs. Not while one is rendered.
    void setFrame(int frame);
    /// What the texture shows has changed: a light map. Not while one is rendered.
    void forget(const scene::TextureElement& texture);
    /// The image files of a texture: one, or its tiles; none when none is found.
    [[nodiscard]] std::vector<std::string> files(const scene::TextureElement& texture) const;

    /// (s, t) = (0, 0) is the lower left corner. Filtered look-ups are mip-mapped and anisotropic. Values are
    /// those of the file, or linear light where the texture's colour profile is another (see
    /// scene::ColorProfile). Colours are not multiplied by alpha: those of files that store them so (OpenEXR)
    /// are divided by it after filtering, except where it is 0. Grey images are grey colours, images without
    /// alpha have alpha 1. False, `result` untouched, for textures that cannot be read.
    bool lookup(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                miColor& result);

    /// The image's alpha where it has one, else its intensity.
    bool lookupScalar(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                      miScalar& result);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::image

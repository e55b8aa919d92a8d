// SPDX-License-Identifier: Apache-2.0
#include "image/formats/cached_image.h"
#include "image/formats/incomplete_image.h"
#include "image/formats/library_formats.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imagecache.h>

#include <fmt/format.h>

#include <memory>
#include <sstream>
#include <stdexcept>

namespace orca::image {

namespace {

using Numbers = TextureFileSettings::Numbers;

OIIO::TypeDesc typeOf(Numbers numbers) {
    switch (numbers) {
    case Numbers::Byte: return OIIO::TypeDesc::UINT8;
    case Numbers::Word: return OIIO::TypeDesc::UINT16;
    case Numbers::Half: return OIIO::TypeDesc::HALF;
    case Numbers::Float: break;
    }
    return OIIO::TypeDesc::FLOAT;
}

Numbers ownNumbers(OIIO::TypeDesc type) {
    if (type == OIIO::TypeDesc::UINT8) return Numbers::Byte;
    if (type == OIIO::TypeDesc::HALF) return Numbers::Half;
    return type.is_floating_point() ? Numbers::Float : Numbers::Word;
}

struct DestroyCache {
    void operator()(OIIO::ImageCache* cache) const { OIIO::ImageCache::destroy(cache); }
};

} // namespace

void LibraryFormats::makeTextureFile(const std::string& image, const std::string& file,
                                     const TextureFileSettings& settings) {
    if (const std::string reason = whyUnusable(image); !reason.empty()) throw std::runtime_error(reason);
    if (const std::string missing = whatIsMissing(image); !missing.empty()) throw std::runtime_error(missing);

    // As look-ups read it: alpha as stored, and light linear before it is filtered.
    const std::unique_ptr<OIIO::ImageCache, DestroyCache> cache(OIIO::ImageCache::create(false));
    cache->attribute("unassociatedalpha", 1);
    const bool converts = settings.profile != scene::ColorProfile::Linear;
    OIIO::ustring name(image);
    if (converts) {
        name = OIIO::ustring("converted " + image);
        addConvertedFile(*cache, name, image, {settings.profile});
    }
    OIIO::ImageBuf pixels(name.string(), 0, 0, cache.get());
    if (!pixels.read(0, 0, false)) // through the cache, which has what is converted
        throw std::runtime_error(pixels.geterror());

    const Numbers numbers =
        settings.numbers.value_or(converts ? Numbers::Half : ownNumbers(pixels.nativespec().format));
    const bool isWhole = numbers == Numbers::Byte || numbers == Numbers::Word;
    OIIO::ImageSpec config;
    config.set_format(typeOf(numbers));
    config.tile_width = config.tile_height = settings.tileSize;
    config.tile_depth = 1;
    // OpenEXR knows only colours that are multiplied by alpha, and what is below alpha 0 would be lost.
    const bool isApart =
        pixels.spec().alpha_channel >= 0 && pixels.spec().get_int_attribute(colorsApartFromAlpha) != 0;
    config.attribute("maketx:fileformatname", isWhole || isApart ? "tiff" : "openexr");
    config.attribute("maketx:filtername", "box");
    std::ostringstream said;
    if (!OIIO::ImageBufAlgo::make_texture(OIIO::ImageBufAlgo::MakeTxTexture, pixels, file, config, &said)) {
        std::string reason = OIIO::geterror();
        if (reason.empty()) reason = said.str();
        throw std::runtime_error(reason.empty() ? "the image library gives no reason" : reason);
    }
}

} // namespace orca::image

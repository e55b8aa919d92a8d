// SPDX-License-Identifier: Apache-2.0
#include "image/formats/cached_image.h"
#include "image/formats/incomplete_image.h"
#include "image/formats/library_formats.h"
#include "image/inline_pixels.h"
#include "image/texture_files.h"

#include "scene/elements/file_pattern.h"

#include <OpenImageIO/imageio.h>
#include <OpenImageIO/texture.h>
#include <tbb/concurrent_unordered_map.h>
#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>

namespace orca::image {

namespace {

namespace fs = std::filesystem;

using Wrap = TextureLookup::Wrap;

/// Fraction in [0, 1); not-a-number and infinities become 0, so that a wrong value of a shader reads a texel
/// and not memory outside the image.
float fraction(float value) {
    const float part = value - std::floor(value);
    return part >= 0.0f && part < 1.0f ? part : 0.0f;
}

/// The coordinate within or near the first period. One that is clamped stays a little outside, so that a
/// footprint over the edge is centred outside as well.
float reduced(float value, Wrap wrap) {
    switch (wrap) {
    case Wrap::Clamp: return value > -1.0f ? (value < 2.0f ? value : 2.0f) : -1.0f;
    case Wrap::Mirror: return 2.0f * fraction(0.5f * value);
    default: return fraction(value);
    }
}

/// The coordinate in [0, 1] of the texel that the wrap finds, for look-ups of one texel.
float insideImage(float value, Wrap wrap) {
    if (wrap == Wrap::Mirror) return value > 1.0f ? 2.0f - value : value;
    return std::clamp(value, 0.0f, 1.0f);
}

/// The library chooses a level of the pyramid by the ellipse's short axis and the image's short side alone,
/// so it sharpens too much along the long side: what is narrower there is widened towards the other.
Footprint forLibrary(Footprint f, int width, int height) {
    const float s = std::max(std::abs(f.dsdx), std::abs(f.dsdy));
    const float t = std::max(std::abs(f.dtdx), std::abs(f.dtdy));
    const float aspect = static_cast<float>(width) / static_cast<float>(std::max(height, 1));
    if (aspect > 1.0f && s > 0.0f && s < t) {
        const float scale = std::min(aspect, t / s);
        f.dsdx *= scale;
        f.dsdy *= scale;
    } else if (aspect < 1.0f && t > 0.0f && t < s) {
        const float scale = std::min(1.0f / aspect, s / t);
        f.dtdx *= scale;
        f.dtdy *= scale;
    }
    return f;
}

OIIO::TextureOpt::Wrap libraryWrap(Wrap wrap) {
    switch (wrap) {
    case Wrap::Clamp: return OIIO::TextureOpt::WrapClamp;
    case Wrap::Mirror: return OIIO::TextureOpt::WrapMirror;
    default: return OIIO::TextureOpt::WrapPeriodic;
    }
}

/// The extensions that the image library hands to its decoder of films.
std::vector<std::string> filmExtensions() {
    std::map<std::string, std::vector<std::string>> extensions = OIIO::get_extension_map();
    return extensions["ffmpeg"];
}

/// A texture as it is looked up. Filled once by whichever thread comes first, then only read.
struct Loaded {
    std::once_flag once;
    bool good = false;
    int channels = 0; ///< of the image, at most 4
    int width = 0, height = 0;
    bool multiplied = false; ///< the image stores colours multiplied by alpha
    OIIO::TextureSystem::TextureHandle* handle = nullptr;
    std::optional<InlinePixels> pixels;
    bool isOfFrame = false;                     ///< another frame may have another file
    std::vector<std::unique_ptr<Loaded>> tiles; ///< as of TextureFiles, null where there is none
    std::string file;                           ///< of a tile
};

class LibraryTextures final : public TextureCache {
public:
    LibraryTextures(Log& log, std::vector<std::string> searchPaths, std::size_t cacheMegabytes);
    ~LibraryTextures() override;
    LibraryTextures(const LibraryTextures&) = delete;
    LibraryTextures& operator=(const LibraryTextures&) = delete;

    void setFrame(int frame) override;
    void forget(const scene::TextureElement& texture) override;
    bool lookup(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                miColor& result) override;
    bool lookupScalar(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                      miScalar& result) override;

private:
    [[nodiscard]] OIIO::TextureSystem::Perthread* thisThread() const {
        OIIO::TextureSystem::Perthread*& own = threads_.local();
        if (!own) own = system_->create_thread_info();
        return own;
    }
    [[nodiscard]] static std::uint64_t keyOf(const scene::TextureElement& texture);
    /// Under which the library knows pixels that are of no file.
    [[nodiscard]] static OIIO::ustring nameOfPixels(const scene::TextureElement& texture);
    Loaded& get(const scene::TextureElement& texture);
    void load(const scene::TextureElement& texture, Loaded& entry);
    void loadPixels(const scene::TextureElement& texture, Loaded& entry);
    void loadFiles(const scene::TextureElement& texture, Loaded& entry);
    void loadFile(const scene::TextureElement& texture, Loaded& entry, const std::string& file);
    Loaded* tileAt(const scene::TextureElement& texture, Loaded& entry, float& s, float& t);
    /// What is looked up: of a texture of tiles, the one that has the coordinates, at its own. Null where
    /// there is none.
    Loaded* entryAt(const scene::TextureElement& texture, float& s, float& t, TextureLookup& how);
    void open(const scene::TextureElement& texture, Loaded& entry, OIIO::ustring name,
              const std::string& shown);
    bool lookupIn(const Loaded& entry, const scene::TextureElement& texture, float s, float t,
                  const TextureLookup& how, miColor& result) const;

    Log& log_;
    std::vector<std::string> searchPaths_;
    OIIO::ImageCache* cache_;
    OIIO::TextureSystem* system_;
    /// By tag and revision, so that a changed texture is read anew.
    tbb::concurrent_unordered_map<std::uint64_t, Loaded> loaded_;
    /// What the library keeps for each thread. Owned here: the library frees its own when the thread ends,
    /// which for a pool's thread may be while the cache is being destroyed.
    mutable tbb::enumerable_thread_specific<OIIO::TextureSystem::Perthread*> threads_{};
    int frame_ = 0;
};

LibraryTextures::LibraryTextures(Log& log, std::vector<std::string> searchPaths, std::size_t cacheMegabytes)
    : log_(log),
      searchPaths_(std::move(searchPaths)),
      cache_(OIIO::ImageCache::create(false)),
      system_(OIIO::TextureSystem::create(false, cache_)) {
    system_->attribute("max_memory_MB", static_cast<float>(cacheMegabytes));
    system_->attribute("automip", 1);
    system_->attribute("autotile", 64);
    system_->attribute("gray_to_rgb", 1);
    system_->attribute("unassociatedalpha", 1); // as stored: pictures may hold colours where alpha is 0
    system_->attribute("max_open_files", 256);
}

LibraryTextures::~LibraryTextures() {
    for (OIIO::TextureSystem::Perthread* const thread : threads_) system_->destroy_thread_info(thread);
    OIIO::TextureSystem::destroy(system_);
    OIIO::ImageCache::destroy(cache_);
}

std::uint64_t LibraryTextures::keyOf(const scene::TextureElement& texture) {
    return std::uint64_t{texture.tag} << 32 | texture.revision;
}

OIIO::ustring LibraryTextures::nameOfPixels(const scene::TextureElement& texture) {
    return OIIO::ustring(fmt::format("pixels {} {}", texture.tag, texture.revision));
}

Loaded& LibraryTextures::get(const scene::TextureElement& texture) {
    const std::uint64_t key = keyOf(texture);
    auto found = loaded_.find(key);
    if (found == loaded_.end()) {
        found = loaded_.emplace(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple())
                    .first;
    }
    std::call_once(found->second.once, [&] { load(texture, found->second); });
    return found->second;
}

void LibraryTextures::load(const scene::TextureElement& texture, Loaded& entry) {
    if (texture.file.empty() || texture.baked) loadPixels(texture, entry);
    else loadFiles(texture, entry);
}

void LibraryTextures::loadPixels(const scene::TextureElement& texture, Loaded& entry) {
    const std::size_t needed = static_cast<std::size_t>(std::max(texture.width, 0)) *
                               static_cast<std::size_t>(std::max(texture.height, 0)) *
                               static_cast<std::size_t>(texture.components * texture.bytesPerComponent);
    const bool isBlank = texture.writable && texture.pixels.empty();
    if (!texture.baked && (needed == 0 || (texture.pixels.size() < needed && !isBlank))) {
        log_.errorAt(texture.location, "IMG",
                     "texture \"{}\" has no image: {} bytes of pixels where {} x {} need {}", texture.name,
                     texture.pixels.size(), texture.width, texture.height, needed);
        return;
    }
    entry.pixels.emplace(texture);
    const OIIO::ustring name = nameOfPixels(texture);
    addPixels(*cache_, name, *entry.pixels);
    open(texture, entry, name, "pixels of the scene");
    entry.channels = texture.components;
}

void LibraryTextures::loadFiles(const scene::TextureElement& texture, Loaded& entry) {
    const TextureFiles files = filesOf(texture, searchPaths_, frame_);
    entry.isOfFrame = scene::hasFramePattern(texture.file);
    if (files.empty()) {
        log_.errorAt(texture.location, "IMG", "texture \"{}\": image \"{}\" was not found; tried {}",
                     texture.name, texture.file,
                     fmt::join(candidatesOf(texture, searchPaths_, frame_), ", "));
    } else if (files.tiles.empty()) {
        loadFile(texture, entry, files.single);
    }
    for (const std::string& tile : files.tiles) {
        entry.tiles.push_back(tile.empty() ? nullptr : std::make_unique<Loaded>());
        if (!tile.empty()) entry.tiles.back()->file = tile;
    }
}

Loaded* LibraryTextures::tileAt(const scene::TextureElement& texture, Loaded& entry, float& s, float& t) {
    const float u = std::floor(s), v = std::floor(t);
    constexpr float columns = tileColumns, rows = (greatestTile - firstTile) / tileColumns + 1;
    const bool isNumbered = u >= 0.0f && u < columns && v >= 0.0f && v < rows;
    const std::size_t index = isNumbered ? static_cast<std::size_t>(u + columns * v) : entry.tiles.size();
    if (index >= entry.tiles.size() || !entry.tiles[index]) {
        log_.once(fmt::format("tile {} {} {}", texture.name, u, v),
                  {LogLevel::Warning, "IMG", 0,
                   fmt::format("texture \"{}\" has no tile of \"{}\" for the coordinates from ({}, {}) on",
                               texture.name, texture.file, u, v),
                   texture.location});
        return nullptr;
    }
    s -= u;
    t -= v;
    Loaded& tile = *entry.tiles[index];
    std::call_once(tile.once, [&] { loadFile(texture, tile, tile.file); });
    return &tile;
}

void LibraryTextures::loadFile(const scene::TextureElement& texture, Loaded& entry, const std::string& file) {
    if (const std::string reason = whyUnusable(file); !reason.empty()) {
        log_.errorAt(texture.location, "IMG", "texture \"{}\": image \"{}\" cannot be used: {}", texture.name,
                     file, reason);
        return;
    }
    if (const std::string missing = whatIsMissing(file); !missing.empty())
        log_.errorAt(texture.location, "IMG",
                     "texture \"{}\": image \"{}\" is truncated, what is missing is black or grey: {}",
                     texture.name, file, missing);
    OIIO::ustring path(file);
    const ColorMeaning meaning{texture.colorProfile, texture.colorSpaces, texture.colorSpace};
    if (!meaning.isLinear()) {
        const OIIO::ustring converted(
            fmt::format("profile {} \"{}\" {}", static_cast<int>(meaning.profile), meaning.space, file));
        addConvertedFile(*cache_, converted, file, meaning);
        path = converted;
    }
    open(texture, entry, path, file);
}

void LibraryTextures::open(const scene::TextureElement& texture, Loaded& entry, OIIO::ustring name,
                           const std::string& shown) {
    // With a state of this thread's own: the library's is found by the cache's address, where an earlier
    // cache may have been.
    OIIO::TextureSystem::Perthread* const thread = thisThread();
    OIIO::TextureSystem::TextureHandle* const handle = system_->get_texture_handle(name, thread);
    OIIO::ImageSpec spec;
    if (!handle || !system_->get_imagespec(handle, thread, 0, spec)) {
        log_.errorAt(texture.location, "IMG", "texture \"{}\": image \"{}\" cannot be read: {}", texture.name,
                     shown, system_->geterror());
        return;
    }
    // A tile that the cache cannot hold several times over ends the process inside the library.
    float megabytes = 0.0f;
    system_->getattribute("max_memory_MB", megabytes);
    const double tile = static_cast<double>(spec.tile_bytes()) / (1 << 20);
    if (tile > static_cast<double>(megabytes)) {
        log_.errorAt(
            texture.location, "IMG",
            "texture \"{}\": image \"{}\" cannot be used: a tile of it takes {:.0f} MB, more than the "
            "texture cache of {:.0f} MB",
            texture.name, shown, tile, megabytes);
        return;
    }
    entry.channels = std::min(spec.nchannels, 4);
    entry.width = spec.full_width;
    entry.height = spec.full_height;
    entry.multiplied = (entry.channels == 2 || entry.channels == 4) &&
                       spec.alpha_channel == entry.channels - 1 &&
                       spec.get_int_attribute(colorsApartFromAlpha) == 0;
    entry.handle = handle;
    entry.good = true;
}

bool LibraryTextures::lookupIn(const Loaded& entry, const scene::TextureElement& texture, float s, float t,
                               const TextureLookup& how, miColor& result) const {
    if (!entry.good) return false;
    s = reduced(s, how.wrapS);
    t = reduced(t, how.wrapT);
    OIIO::TextureOpt options;
    options.swrap = libraryWrap(how.wrapS);
    options.twrap = libraryWrap(how.wrapT);
    options.fill = 1.0f; // alpha of images that have none
    Footprint size;
    if (how.filtered) {
        options.mipmode = OIIO::TextureOpt::MipModeAniso;
        options.interpmode = how.magnified == TextureLookup::Magnified::Cubic
                                 ? OIIO::TextureOpt::InterpSmartBicubic
                                 : OIIO::TextureOpt::InterpBilinear;
        options.anisotropic = 16;
        size = forLibrary(how.footprint, entry.width, entry.height);
        t = 1.0f - t; // the library counts t from the top
    } else {
        options.mipmode = OIIO::TextureOpt::MipModeNoMIP;
        options.interpmode = OIIO::TextureOpt::InterpClosest;
        // A texel includes its lower edge; after t is reversed its neighbour would. Hence the centre.
        const auto columns = static_cast<float>(entry.width), rows = static_cast<float>(entry.height);
        s = insideImage(s, how.wrapS);
        t = insideImage(t, how.wrapT);
        s = (std::min(std::floor(s * columns), columns - 1.0f) + 0.5f) / columns;
        t = 1.0f - (std::min(std::floor(t * rows), rows - 1.0f) + 0.5f) / rows;
    }
    const bool greyWithAlpha = entry.channels == 2;
    float values[4] = {0, 0, 0, 1};
    if (!system_->texture(entry.handle, thisThread(), options, s, t, size.dsdx, -size.dtdx, size.dsdy,
                          -size.dtdy, greyWithAlpha ? 2 : 4, values)) {
        const std::string why = system_->geterror();
        log_.once("texture " + texture.name, {LogLevel::Error, "IMG", 0,
                                              fmt::format("texture \"{}\": look-up in \"{}\" failed: {}",
                                                          texture.name, texture.file, why),
                                              texture.location});
        return false;
    }
    if (greyWithAlpha) {
        values[3] = values[1];
        values[1] = values[2] = values[0];
    }
    result = {values[0], values[1], values[2], values[3]};
    if (entry.multiplied && result.a > 0.0f)
        for (float* const channel : {&result.r, &result.g, &result.b}) *channel /= result.a;
    return true;
}

Loaded* LibraryTextures::entryAt(const scene::TextureElement& texture, float& s, float& t,
                                 TextureLookup& how) {
    Loaded& entry = get(texture);
    if (entry.tiles.empty()) return &entry;
    how.wrapS = how.wrapT = Wrap::Clamp; // the neighbour across the edge is another image
    return tileAt(texture, entry, s, t);
}

void LibraryTextures::setFrame(int frame) {
    if (frame_ == frame) return;
    frame_ = frame;
    for (auto entry = loaded_.begin(); entry != loaded_.end();)
        entry = entry->second.isOfFrame ? loaded_.unsafe_erase(entry) : std::next(entry);
}

void LibraryTextures::forget(const scene::TextureElement& texture) {
    loaded_.unsafe_erase(keyOf(texture));
    system_->invalidate(nameOfPixels(texture));
}

bool LibraryTextures::lookup(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                             miColor& result) {
    TextureLookup own = how;
    Loaded* const entry = entryAt(texture, s, t, own);
    return entry && lookupIn(*entry, texture, s, t, own, result);
}

bool LibraryTextures::lookupScalar(const scene::TextureElement& texture, float s, float t,
                                   const TextureLookup& how, miScalar& result) {
    TextureLookup own = how;
    Loaded* const entry = entryAt(texture, s, t, own);
    miColor color;
    if (!entry || !lookupIn(*entry, texture, s, t, own, color)) return false;
    const bool hasAlpha = entry->channels == 2 || entry->channels == 4;
    result = hasAlpha ? color.a : (color.r + color.g + color.b) / 3.0f;
    return true;
}

} // namespace

std::unique_ptr<TextureCache> LibraryFormats::textureCache(Log& log, std::vector<std::string> searchPaths,
                                                           std::size_t cacheMegabytes) {
    return std::make_unique<LibraryTextures>(log, std::move(searchPaths), cacheMegabytes);
}

bool LibraryFormats::isFilm(const std::string& path) {
    static const std::vector<std::string> extensions = filmExtensions();
    std::string own = fs::path(path).extension().string();
    std::transform(own.begin(), own.end(), own.begin(), [](unsigned char c) { return std::tolower(c); });
    return !own.empty() && std::find(extensions.begin(), extensions.end(), own.substr(1)) != extensions.end();
}

} // namespace orca::image

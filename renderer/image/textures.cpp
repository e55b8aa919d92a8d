// SPDX-License-Identifier: Apache-2.0
#include "image/textures.h"

#include "image/inline_pixels.h"

#include <OpenImageIO/texture.h>
#include <tbb/concurrent_unordered_map.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <mutex>
#include <optional>
#include <tuple>

namespace orca::image {

namespace {

namespace fs = std::filesystem;

/// Fraction in [0, 1); not-a-number and infinities become 0, so that a shader's slip reads a texel and not
/// wild memory.
float fraction(float value) {
    const float part = value - std::floor(value);
    return part >= 0.0f && part < 1.0f ? part : 0.0f;
}

/// Inverse of the display curve of IEC 61966-2-1.
float linearFromSrgb(float value) {
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

bool namesSrgb(std::string profile) {
    std::transform(profile.begin(), profile.end(), profile.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return profile == "srgb";
}

/// A texture as it is looked up. Filled once by whichever thread comes first, then only read.
struct Loaded {
    std::once_flag once;
    bool good = false;
    bool srgb = false;
    int channels = 0; ///< of the image, at most 4
    int width = 0, height = 0;
    OIIO::TextureSystem::TextureHandle* handle = nullptr;
    std::optional<InlinePixels> pixels;
};

} // namespace

struct Textures::Implementation {
    scene::Messages& messages;
    std::vector<std::string> searchPaths;
    OIIO::TextureSystem* system;
    /// By tag and revision, so that a changed texture is read anew.
    tbb::concurrent_unordered_map<std::uint64_t, Loaded> loaded;

    Loaded& get(const scene::TextureElement& texture);
    void load(const scene::TextureElement& texture, Loaded& entry);
    void loadFile(const scene::TextureElement& texture, Loaded& entry);
    bool lookupFile(const scene::TextureElement& texture, Loaded& entry, float s, float t,
                    const TextureFootprint& footprint, float (&values)[4]) const;
    bool lookup(const scene::TextureElement& texture, Loaded& entry, float s, float t,
                const TextureFootprint& footprint, miColor& result) const;
};

Textures::Textures(scene::Messages& messages, std::vector<std::string> searchPaths,
                   std::size_t cacheMegabytes)
    : implementation_(
          new Implementation{messages, std::move(searchPaths), OIIO::TextureSystem::create(false), {}}) {
    OIIO::TextureSystem& system = *implementation_->system;
    system.attribute("max_memory_MB", static_cast<float>(cacheMegabytes));
    system.attribute("automip", 1);
    system.attribute("autotile", 64);
    system.attribute("gray_to_rgb", 1);
    system.attribute("max_open_files", 256);
}

Textures::~Textures() {
    OIIO::TextureSystem::destroy(implementation_->system);
}

Loaded& Textures::Implementation::get(const scene::TextureElement& texture) {
    const std::uint64_t key = std::uint64_t{texture.tag} << 32 | texture.revision;
    auto found = loaded.find(key);
    if (found == loaded.end()) {
        found = loaded.emplace(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple())
                    .first;
    }
    std::call_once(found->second.once, [&] { load(texture, found->second); });
    return found->second;
}

void Textures::Implementation::load(const scene::TextureElement& texture, Loaded& entry) {
    entry.srgb = namesSrgb(texture.colorProfile);
    if (texture.file.empty()) {
        const std::size_t needed = static_cast<std::size_t>(std::max(texture.width, 0)) *
                                   static_cast<std::size_t>(std::max(texture.height, 0)) *
                                   static_cast<std::size_t>(texture.components * texture.bytesPerComponent);
        if (needed == 0 || texture.pixels.size() < needed) {
            messages.errorAt(texture.place, "IMG",
                             "texture \"{}\" has no image: {} bytes of pixels where {} x {} need {}",
                             texture.name, texture.pixels.size(), texture.width, texture.height, needed);
            return;
        }
        entry.channels = texture.components;
        entry.pixels.emplace(texture);
        entry.good = true;
        return;
    }
    loadFile(texture, entry);
}

void Textures::Implementation::loadFile(const scene::TextureElement& texture, Loaded& entry) {
    std::vector<fs::path> candidates;
    const fs::path name(texture.file);
    if (name.is_absolute()) {
        candidates.push_back(name);
    } else {
        candidates.push_back(fs::path(texture.sceneDirectory) / name);
        for (const std::string& path : searchPaths) candidates.push_back(fs::path(path) / name);
    }
    std::error_code ignored;
    const auto file = std::find_if(candidates.begin(), candidates.end(),
                                   [&](const fs::path& each) { return fs::is_regular_file(each, ignored); });
    if (file == candidates.end()) {
        std::string tried;
        for (const fs::path& each : candidates) tried += (tried.empty() ? "" : ", ") + each.string();
        messages.errorAt(texture.place, "IMG", "texture \"{}\": image \"{}\" was not found; tried {}",
                         texture.name, texture.file, tried);
        return;
    }
    const OIIO::ustring path(file->string());
    OIIO::ImageSpec spec;
    if (!system->get_imagespec(path, 0, spec)) {
        messages.errorAt(texture.place, "IMG", "texture \"{}\": image \"{}\" cannot be read: {}",
                         texture.name, file->string(), system->geterror());
        return;
    }
    entry.channels = std::min(spec.nchannels, 4);
    entry.width = spec.full_width;
    entry.height = spec.full_height;
    entry.handle = system->get_texture_handle(path);
    entry.good = entry.handle != nullptr;
}

bool Textures::Implementation::lookupFile(const scene::TextureElement& texture, Loaded& entry, float s,
                                          float t, const TextureFootprint& footprint,
                                          float (&values)[4]) const {
    OIIO::TextureOpt options;
    options.swrap = options.twrap = OIIO::TextureOpt::WrapPeriodic;
    options.fill = 1.0f; // alpha of images that have none
    TextureFootprint size;
    if (texture.filter) {
        options.mipmode = OIIO::TextureOpt::MipModeAniso;
        options.anisotropic = 16;
        options.swidth = options.twidth = *texture.filter > 0.0f ? *texture.filter : 1.0f;
        size = footprint;
        t = 1.0f - t; // the library counts t from the top
    } else {
        options.mipmode = OIIO::TextureOpt::MipModeNoMIP;
        options.interpmode = OIIO::TextureOpt::InterpClosest;
        // A texel includes its lower edge, which turning t over would give to its neighbour: so look up
        // centres.
        const auto columns = static_cast<float>(entry.width), rows = static_cast<float>(entry.height);
        s = (std::min(std::floor(s * columns), columns - 1.0f) + 0.5f) / columns;
        t = 1.0f - (std::min(std::floor(t * rows), rows - 1.0f) + 0.5f) / rows;
    }
    const bool greyWithAlpha = entry.channels == 2;
    if (!system->texture(entry.handle, system->get_perthread_info(), options, s, t, size.dsdx, -size.dtdx,
                         size.dsdy, -size.dtdy, greyWithAlpha ? 2 : 4, values)) {
        const std::string why = system->geterror();
        messages.once("texture " + texture.name, {scene::Level::Error, "IMG", 0,
                                                  fmt::format("texture \"{}\": look-up in \"{}\" failed: {}",
                                                              texture.name, texture.file, why),
                                                  texture.place});
        return false;
    }
    if (greyWithAlpha) {
        values[3] = values[1];
        values[1] = values[2] = values[0];
    }
    return true;
}

bool Textures::Implementation::lookup(const scene::TextureElement& texture, Loaded& entry, float s, float t,
                                      const TextureFootprint& footprint, miColor& result) const {
    if (!entry.good) return false;
    s = fraction(s);
    t = fraction(t);
    miColor color;
    if (entry.pixels) {
        color = texture.filter ? entry.pixels->bilinear(s, t) : entry.pixels->nearest(s, t);
    } else {
        float values[4] = {0, 0, 0, 1};
        if (!lookupFile(texture, entry, s, t, footprint, values)) return false;
        color = {values[0], values[1], values[2], values[3]};
    }
    if (entry.srgb) {
        for (float* value : {&color.r, &color.g, &color.b}) *value = linearFromSrgb(*value);
    }
    result = color;
    return true;
}

bool Textures::lookup(const scene::TextureElement& texture, float s, float t,
                      const TextureFootprint& footprint, miColor& result) {
    return implementation_->lookup(texture, implementation_->get(texture), s, t, footprint, result);
}

bool Textures::lookupScalar(const scene::TextureElement& texture, float s, float t,
                            const TextureFootprint& footprint, miScalar& result) {
    Loaded& entry = implementation_->get(texture);
    miColor color;
    if (!implementation_->lookup(texture, entry, s, t, footprint, color)) return false;
    const bool hasAlpha = entry.channels == 2 || entry.channels == 4;
    result = hasAlpha ? color.a : (color.r + color.g + color.b) / 3.0f;
    return true;
}

} // namespace orca::image

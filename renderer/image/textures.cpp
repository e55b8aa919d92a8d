// SPDX-License-Identifier: Apache-2.0
#include "image/textures.h"

#include "image/image_formats.h"
#include "image/texture_files.h"

#include <mutex>
#include <utility>

namespace orca::image {

struct Textures::Implementation {
    Log& log;
    std::vector<std::string> searchPaths;
    std::size_t cacheMegabytes;
    int frame = 0;
    std::once_flag once{};
    std::unique_ptr<TextureCache> cache{}; ///< null where the image library cannot be loaded

    [[nodiscard]] TextureCache* loaded() {
        std::call_once(once, [this] {
            try {
                cache = imageFormats().textureCache(log, searchPaths, cacheMegabytes);
                cache->setFrame(frame);
            } catch (const std::exception& failure) {
                log.error("IMG", "no texture can be read: {}", failure.what());
            }
        });
        return cache.get();
    }
};

Textures::Textures(Log& log, std::vector<std::string> searchPaths, std::size_t cacheMegabytes)
    : implementation_(new Implementation{log, std::move(searchPaths), cacheMegabytes}) {
}

Textures::~Textures() = default;

void Textures::setFrame(int frame) {
    implementation_->frame = frame;
    if (implementation_->cache) implementation_->cache->setFrame(frame);
}

void Textures::forget(const scene::TextureElement& texture) {
    if (implementation_->cache) implementation_->cache->forget(texture);
}

std::vector<std::string> Textures::files(const scene::TextureElement& texture) const {
    TextureFiles files = filesOf(texture, implementation_->searchPaths, implementation_->frame);
    if (!files.single.empty()) return {files.single};
    std::erase(files.tiles, "");
    return files.tiles;
}

bool Textures::lookup(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                      miColor& result) {
    TextureCache* const cache = implementation_->loaded();
    return cache && cache->lookup(texture, s, t, how, result);
}

bool Textures::lookupScalar(const scene::TextureElement& texture, float s, float t, const TextureLookup& how,
                            miScalar& result) {
    TextureCache* const cache = implementation_->loaded();
    return cache && cache->lookupScalar(texture, s, t, how, result);
}

} // namespace orca::image

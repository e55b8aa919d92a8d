// SPDX-License-Identifier: Apache-2.0
#include "shading/state_store.h"

#include <cstdint>
#include <cstring>

namespace orca::shading {

namespace {

/// Most keys that are asked for differ from an entry's in the first letter: no call for those.
bool sameText(const std::string& text, const char* key) {
    return *text.c_str() == *key && std::strcmp(text.c_str(), key) == 0;
}

} // namespace

StateStore::Entry* StateStore::find(const char* key) {
    const auto address = reinterpret_cast<std::uintptr_t>(key);
    unsigned char& hint = indexHint_[(address ^ (address >> 6)) % indexHint_.size()];
    if (hint < entries_.size() && sameText(entries_[hint].key, key)) return &entries_[hint];
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (sameText(entries_[i].key, key)) {
            if (i < 256) hint = static_cast<unsigned char>(i);
            return &entries_[i];
        }
    return nullptr;
}

void StateStore::set(const char* key, const void* data, int size, int lifetime) {
    Entry* entry = find(key);
    if (!data || size <= 0) {
        if (entry) entries_.erase(entries_.begin() + (entry - entries_.data()));
        return;
    }
    if (!entry) {
        entries_.push_back({key, nullptr, 0, lifetime});
        entry = &entries_.back();
    }
    if (entry->size == size) {
        std::memmove(entry->bytes.get(), data, static_cast<std::size_t>(size));
    } else {
        // The copy comes before the old bytes go: `data` may lie in them.
        auto bytes = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(size));
        std::memcpy(bytes.get(), data, static_cast<std::size_t>(size));
        entry->bytes = std::move(bytes);
        entry->size = size;
    }
    entry->lifetime = lifetime;
    if (lifetime == miSS_LIFETIME_EYERAY) hasSampleEntries_ = true;
}

void* StateStore::get(const char* key, int* size) {
    Entry* const entry = find(key);
    if (!entry) return nullptr;
    if (size) *size = entry->size;
    return entry->bytes.get();
}

void StateStore::enumerate(miShaderstate_visitor visitor, void* user) {
    // Looked up by index: the visitor may delete what it is shown.
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const std::string key = entries_[i].key;
        if (!visitor(key.c_str(), entries_[i].bytes.get(), entries_[i].size, user)) return;
        if (i < entries_.size() && entries_[i].key != key) --i;
    }
}

void StateStore::endSample() {
    if (!hasSampleEntries_) return;
    std::erase_if(entries_, [](const Entry& entry) { return entry.lifetime == miSS_LIFETIME_EYERAY; });
    hasSampleEntries_ = false;
}

} // namespace orca::shading

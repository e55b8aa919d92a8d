// SPDX-License-Identifier: Apache-2.0
#include "shading/state_store.h"

#include "base/constant_memory.h"

#include <cstdint>
#include <cstring>

namespace orca::shading {

namespace {

/// Most keys that are asked for differ from an entry's in the first letter: no call for those.
bool sameText(const std::string& text, const char* key) {
    return *text.c_str() == *key && std::strcmp(text.c_str(), key) == 0;
}

} // namespace

StateStore::Entry* StateStore::find(const char* key) noexcept {
    for (Entry& entry : entries_)
        if (sameText(entry.key, key)) return &entry;
    return nullptr;
}

void StateStore::set(const char* key, const void* data, int size, int lifetime) {
    Entry* entry = find(key);
    ++version_;
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
        // Copied before the old bytes are freed: `data` may point into them.
        auto bytes = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(size));
        std::memcpy(bytes.get(), data, static_cast<std::size_t>(size));
        entry->bytes = std::move(bytes);
        entry->size = size;
    }
    entry->lifetime = lifetime;
    if (lifetime == miSS_LIFETIME_EYERAY) hasSampleEntries_ = true;
}

void* StateStore::get(const char* key, int* size) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(key);
    Answer& answer = answers_[(address ^ (address >> 6)) % answers_.size()];
    if (answer.literal != key || answer.version != version_) return search(key, size, answer);
    if (size && answer.bytes) *size = answer.size;
    return answer.bytes;
}

void* StateStore::search(const char* key, int* size, Answer& answer) noexcept {
    const std::size_t length = std::strlen(key);
    if (length >= sizeof answer.text) {
        const Entry* const entry = find(key);
        if (entry && size) *size = entry->size;
        return entry ? entry->bytes.get() : nullptr;
    }
    if (std::strcmp(answer.text, key) != 0) {
        answer = {};
        std::memcpy(answer.text, key, length + 1);
    } else if (answer.tested != key) { // not for a key that is asked for once
        answer.tested = key;
        answer.literal = isInConstantSegment(key) ? key : nullptr;
    }
    if (answer.version != version_) {
        const Entry* const entry = find(key);
        answer.bytes = entry ? entry->bytes.get() : nullptr;
        answer.size = entry ? entry->size : 0;
        answer.version = version_;
    }
    if (size && answer.bytes) *size = answer.size;
    return answer.bytes;
}

std::vector<std::string> StateStore::keys() const {
    std::vector<std::string> keys;
    for (const Entry& entry : entries_) keys.push_back(entry.key);
    return keys;
}

void StateStore::visit(const std::vector<std::string>& keys, miShaderstate_visitor visitor, void* user) {
    for (const std::string& key : keys) {
        const Entry* const entry = find(key.c_str());
        if (entry && !visitor(key.c_str(), entry->bytes.get(), entry->size, user)) return;
    }
}

void StateStore::endSample() {
    if (!hasSampleEntries_) return;
    ++version_;
    std::erase_if(entries_, [](const Entry& entry) { return entry.lifetime == miSS_LIFETIME_EYERAY; });
    hasSampleEntries_ = false;
}

} // namespace orca::shading

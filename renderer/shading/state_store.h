// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orca::shading {

/// Copies that shaders keep under text keys for the life of a base state. Addresses stay while an entry
/// lives.
class StateStore {
public:
    /// Copies `size` bytes, replacing an earlier entry; null data or size 0 deletes. 16-byte aligned. An
    /// entry of the same size is overwritten in place.
    void set(const char* key, const void* data, int size, int lifetime);
    /// Null when absent; `size` may be null. Constant time for the handful of keys that shaders use.
    [[nodiscard]] void* get(const char* key, int* size);
    void enumerate(miShaderstate_visitor visitor, void* user);
    /// Drops the entries of the eye-ray lifetime.
    void endSample();

private:
    struct Entry {
        std::string key;
        std::unique_ptr<std::byte[]> bytes;
        int size;
        int lifetime;
    };
    [[nodiscard]] Entry* find(const char* key);

    std::vector<Entry> entries_;
    bool hasSampleEntries_ = false;
    /// A shader asks with the same literal every time, so the literal's address remembers where its entry
    /// was. Only a hint: the text decides. Several libraries bring their own copies of a literal; with this
    /// many places they seldom share one.
    std::array<unsigned char, 64> indexHint_{};
};

} // namespace orca::shading

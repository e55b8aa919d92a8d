// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <memory>
#include <string>
#include <vector>

namespace orca::shading {

/// Copies that shaders keep under text keys for the life of a base state. Addresses stay while an entry lives.
class StateStore {
public:
    /// Copies `size` bytes, replacing an earlier entry; null data or size 0 deletes. 16-byte aligned.
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
    std::vector<Entry> entries_;
    bool hasSampleEntries_ = false;
};

} // namespace orca::shading

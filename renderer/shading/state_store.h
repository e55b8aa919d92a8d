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
    [[nodiscard]] void* get(const char* key, int* size) noexcept;
    /// Of all entries, oldest first.
    [[nodiscard]] std::vector<std::string> keys() const;
    /// Shows the entries of these keys until the visitor answers false; it may delete and add entries. Throws
    /// nothing but what the visitor throws.
    void visit(const std::vector<std::string>& keys, miShaderstate_visitor visitor, void* user);
    /// Drops the entries of the eye-ray lifetime.
    void endSample();

private:
    struct Entry {
        std::string key;
        std::unique_ptr<std::byte[]> bytes;
        int size;
        int lifetime;
    };
    /// The last answer to a key. A shader asks with the same literal every time, so answers are indexed by
    /// its address. A literal's address decides whether the answer is for this key; elsewhere the text does.
    /// Every library has its own copies of a literal; with this many answers they seldom collide.
    struct Answer {
        void* bytes = nullptr;
        int size = 0;
        unsigned version = 0;          ///< of the entries that it was found in
        const char* literal = nullptr; ///< address of the key, if its text cannot change
        const char* tested = nullptr;  ///< address that has been asked whether it is a literal's
        char text[24] = "";            ///< of the key; longer keys have no answer here
    };

    [[nodiscard]] Entry* find(const char* key) noexcept;
    /// By the key's text. Not inlined: the usual question calls nothing.
    [[gnu::noinline]] void* search(const char* key, int* size, Answer& answer) noexcept;

    std::vector<Entry> entries_;
    unsigned version_ = 1; ///< counts changes of the entries and of their addresses
    bool hasSampleEntries_ = false;
    std::array<Answer, 64> answers_{};
};

} // namespace orca::shading

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/file_in_place.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

struct XXH3_state_s;

namespace orca::render {

/// A checkpoint that cannot be used; says why.
struct CheckpointFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// XXH3 hash (Y. Collet, "xxHash", 64 bits) of bytes that come in pieces.
class Checksum {
public:
    Checksum();
    ~Checksum();
    Checksum(const Checksum&) = delete;
    Checksum& operator=(const Checksum&) = delete;

    void add(const void* bytes, std::size_t count);
    [[nodiscard]] std::uint64_t value() const;

private:
    XXH3_state_s* state_;
};

/// Writes a checkpoint: numbers and arrays in the machine's byte order, then a checksum of all before it. The
/// file gets its name when it is complete and on the disk; until then an older one keeps it. Throws what
/// image::FileInPlace throws.
class CheckpointOutput {
public:
    explicit CheckpointOutput(const std::string& path);

    void bytes(const void* from, std::size_t count);
    template <class T>
    void value(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes(&value, sizeof value);
    }
    template <class T>
    void array(const std::vector<T>& values) {
        static_assert(std::is_trivially_copyable_v<T>);
        value<std::uint64_t>(values.size());
        bytes(values.data(), values.size() * sizeof(T));
    }
    void text(const std::string& text);
    void commit();

private:
    image::FileInPlace file_;
    Checksum checksum_;
};

/// Reads what CheckpointOutput wrote. Throws CheckpointFault for a file that is none, is cut short or
/// damaged.
class CheckpointInput {
public:
    explicit CheckpointInput(const std::string& path);
    ~CheckpointInput();
    CheckpointInput(const CheckpointInput&) = delete;
    CheckpointInput& operator=(const CheckpointInput&) = delete;

    void bytes(void* to, std::size_t count);
    template <class T>
    T value() {
        static_assert(std::is_trivially_copyable_v<T>);
        T value;
        bytes(&value, sizeof value);
        return value;
    }
    /// @param most elements that are plausible; more is damage
    template <class T>
    std::vector<T> array(std::uint64_t most) {
        static_assert(std::is_trivially_copyable_v<T>);
        const auto count = value<std::uint64_t>();
        if (count > most || count > left_ / sizeof(T)) damaged(); // before there is memory for it
        std::vector<T> values(count);
        bytes(values.data(), count * sizeof(T));
        return values;
    }
    std::string text();
    /// Throws unless there are at least so many bytes still to be read.
    void demand(std::uint64_t count) const {
        if (count > left_) damaged();
    }
    /// Reads and compares the checksum; everything before it has to have been read.
    void finish();
    [[noreturn]] void damaged() const;

private:
    std::FILE* stream_;
    std::uint64_t left_; // bytes of the file that are not read yet
    Checksum checksum_;
};

} // namespace orca::render

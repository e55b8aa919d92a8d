// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

/// What every fuzz target defines: takes any bytes, returns 0. It must not depend on earlier inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace orca::fuzz {

/// Takes values off the front of an input; behind its end all are 0.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    template <class T>
    T take() {
        T value{};
        const std::size_t count = rest_.size() < sizeof value ? rest_.size() : sizeof value;
        if (count > 0) std::memcpy(&value, rest_.data(), count);
        rest_.remove_prefix(count);
        return value;
    }
    [[nodiscard]] std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

/// An input as a file, in memory alone.
class InputFile {
public:
    explicit InputFile(std::string_view bytes) : descriptor_(::memfd_create("input", MFD_CLOEXEC)) {
        const auto size = static_cast<ssize_t>(bytes.size());
        if (descriptor_ < 0 || ::write(descriptor_, bytes.data(), bytes.size()) != size)
            throw std::runtime_error("no file could be made in memory");
    }
    ~InputFile() { ::close(descriptor_); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

/// Ends the process where a property does not hold that every input must leave true.
inline void require(bool holds) {
    if (!holds) __builtin_trap();
}

} // namespace orca::fuzz

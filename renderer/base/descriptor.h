// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include <unistd.h>

namespace orca {

/// A file descriptor, closed at the end; negative: none.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int get() const { return number_; }
    [[nodiscard]] int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

} // namespace orca

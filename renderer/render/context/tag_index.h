// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstdint>
#include <vector>

namespace orca::render {

/// Index into a list by tag, in constant time.
class TagIndex {
public:
    static constexpr std::uint32_t none = 0xffffffffu;

    void set(miTag tag, std::size_t index) {
        if (indices_.size() <= tag) indices_.resize(tag + 1, none);
        indices_[tag] = static_cast<std::uint32_t>(index);
    }
    /// `none` for a tag that was not set.
    [[nodiscard]] std::uint32_t of(miTag tag) const { return tag < indices_.size() ? indices_[tag] : none; }

private:
    std::vector<std::uint32_t> indices_;
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

/// The colour spaces of a configuration, besides the built-in profiles (color_profile.h). Safe from any
/// thread.
class ColorSpaces {
public:
    virtual ~ColorSpaces() = default;
    /// In the configuration's order.
    [[nodiscard]] virtual std::vector<std::string> names() const = 0;
    /// False for a name that is no colour space, nor an alias or a role of one.
    [[nodiscard]] virtual bool knows(std::string_view name) const = 0;
    /// Converts colours of a known space, not multiplied by alpha, to the linear light that is rendered with.
    /// @param colors red, green and blue of each, one after the other
    virtual void makeLinear(std::string_view space, float* colors, std::size_t count) const = 0;
};

} // namespace orca::scene

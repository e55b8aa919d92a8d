// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>

namespace orca::render {

/// Strength of a light, or of several, along the axis of its cone at distances that halve from one to the
/// next.
class LightFalloff {
public:
    static constexpr std::size_t distances = 12;

    /// @param farthest the longest distance, scene units, above 0
    [[nodiscard]] static float distance(std::size_t index, float farthest) {
        return farthest / static_cast<float>(1u << index);
    }
    [[nodiscard]] float& operator[](std::size_t index) { return strength_[index]; }
    [[nodiscard]] float operator[](std::size_t index) const { return strength_[index]; }

    /// Between the distances linear in their inverse; nearer than all of them as at the nearest; farther, the
    /// power of the distance that the farthest two follow.
    /// @param distance over the farthest one, above 0
    [[nodiscard]] float at(float distance) const;
    [[nodiscard]] float largest() const;
    [[nodiscard]] float smallest() const;
    /// Adds what another light sends.
    void add(const LightFalloff& other);
    /// Raises what is below `least` to it.
    void raiseTo(float least);

private:
    std::array<float, distances> strength_{};
};

} // namespace orca::render

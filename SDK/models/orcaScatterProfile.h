// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Distribution of the light that enters a surface at one point and exits around it: normalised diffusion
/// (Christensen and Burley, "Approximate Reflectance Profiles for Efficient Subsurface Scattering", 2015),
/// with the shape that they fit to light entering diffusely. Distances are in scene units, straight through
/// the object.

#include <cmath>
#include <numbers>

/// The profile of one colour channel. Integrated over a plane it is 1; the albedo only shapes it.
class ScatterProfile {
public:
    ScatterProfile() = default;
    /// @param albedo       0 to 1: share of the light that exits again
    /// @param meanFreePath scene units; 0: light exits where it entered
    ScatterProfile(float albedo, float meanFreePath) {
        const float a = albedo - 0.8f;
        const float shape = 1.9f - albedo + 3.5f * a * a;
        decay_ = meanFreePath > 0.0f ? meanFreePath / shape : 0.0f;
    }

    /// Light does not spread: the profile is a point, and the functions below are undefined.
    [[nodiscard]] bool isPoint() const noexcept { return !(decay_ > 0.0f); }

    /// Light per unit area at distance `r` from where it entered.
    [[nodiscard]] float operator()(float r) const noexcept {
        // Unbounded at 0, like the light around a thin beam; no two samples need to be closer than this.
        const float distance = std::fmax(r, 1e-4f * decay_);
        const float outer = std::exp(distance / (-3.0f * decay_));
        return (outer * outer * outer + outer) / (8.0f * std::numbers::pi_v<float> * decay_ * distance);
    }

    /// Share of the light that exits within distance `r`.
    [[nodiscard]] float within(float r) const noexcept {
        const float outer = std::exp(r / (-3.0f * decay_));
        return 1.0f - 0.25f * outer * outer * outer - 0.75f * outer;
    }

    /// The distance within which all but about a thousandth of the light exits.
    [[nodiscard]] float reach() const noexcept { return reachInDecays * decay_; }

    /// Distance at which light exits, distributed as the profile is over the plane, at most `reach()`.
    /// @param u 0 to below 1
    [[nodiscard]] float distance(float u) const noexcept {
        // A quarter of the light falls off three times as fast as the rest.
        const bool inner = u < 0.25f;
        const float scale = inner ? decay_ : 3.0f * decay_;
        const float share = inner ? u * 4.0f : (u - 0.25f) / 0.75f;
        const float cutOff = 1.0f - std::exp(-reach() / scale);
        return -scale * std::log1p(-share * cutOff);
    }

private:
    static constexpr float reachInDecays = 19.86f; // 3 ln 750
    float decay_ = 0.0f;
};

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>

namespace vela {

/// Further numbers of a sample that is known by its first ones: O'Neill, "PCG: A Family of Simple Fast
/// Space-Efficient Statistically Good Algorithms for Random Number Generation" (2014). The same for the same
/// seeds, on any thread.
class RandomSequence {
public:
    RandomSequence(float a, float b) noexcept {
        std::uint32_t words[2];
        std::memcpy(&words[0], &a, sizeof a);
        std::memcpy(&words[1], &b, sizeof b);
        state_ = (std::uint64_t{words[0]} << 32 | words[1]) * multiplier + increment;
        next();
    }
    /// 0 to below 1.
    float next() noexcept {
        const std::uint64_t before = state_;
        state_ = before * multiplier + increment;
        const auto mixed = static_cast<std::uint32_t>(((before >> 18) ^ before) >> 27);
        const auto turn = static_cast<std::uint32_t>(before >> 59);
        const std::uint32_t word = mixed >> turn | mixed << (-turn & 31u);
        return static_cast<float>(word >> 8) * 0x1p-24f;
    }

private:
    static constexpr std::uint64_t multiplier = 6364136223846793005u, increment = 1442695040888963407u;
    std::uint64_t state_;
};

} // namespace vela

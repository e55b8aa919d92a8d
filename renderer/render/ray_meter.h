// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orca::render {

/// Rays of all renders so far, for whoever watches them from another thread. Each rendering thread counts in
/// a cache line of its own.
class RayMeter {
public:
    /// @param thread index of the calling thread; no two that render at the same time may share one
    void add(std::size_t thread, std::uint64_t rays) {
        std::atomic<std::uint64_t>& own = counts_[thread % counts_.size()].rays;
        own.store(own.load(std::memory_order_relaxed) + rays, std::memory_order_relaxed);
    }
    [[nodiscard]] std::uint64_t sum() const {
        std::uint64_t all = 0;
        for (const Count& count : counts_) all += count.rays.load(std::memory_order_relaxed);
        return all;
    }

private:
    struct alignas(64) Count {
        std::atomic<std::uint64_t> rays{0};
    };
    std::array<Count, 1024> counts_; // as many threads as a command may have
};

} // namespace orca::render

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orca::shading {

/// A count that many threads raise without sharing a cache line: a faulty shader is no reason for all cores
/// to queue.
class FaultCounter {
public:
    void raise() { slots_[slotOfThread()].count.fetch_add(1, std::memory_order_relaxed); }
    /// The sum so far; starts again from zero.
    [[nodiscard]] std::uint64_t take() {
        std::uint64_t sum = 0;
        for (Slot& slot : slots_) sum += slot.count.exchange(0, std::memory_order_relaxed);
        return sum;
    }

private:
    struct alignas(64) Slot {
        std::atomic<std::uint64_t> count{0};
    };
    static std::size_t slotOfThread() {
        static std::atomic<std::size_t> threads{0};
        thread_local const std::size_t slot = threads.fetch_add(1, std::memory_order_relaxed);
        return slot % slotCount;
    }
    static constexpr std::size_t slotCount = 16;
    std::array<Slot, slotCount> slots_;
};

} // namespace orca::shading

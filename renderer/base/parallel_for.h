// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/signal_stack.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <atomic>
#include <cstddef>

namespace orca {

/// Ordered by every fork and join, so that what one side wrote is known to be visible to the other. The
/// thread library orders them as well, but the thread sanitizer cannot see how: the library is not built for
/// it.
inline std::atomic<std::size_t> forksAndJoins{0};

/// Calls body(first, last) over [0, count) in chunks of at least `grain`, which are the same for any number
/// of threads, on the threads of the current arena; returns when all are done.
template <class Body>
void parallelFor(std::size_t count, std::size_t grain, const Body& body) {
    forksAndJoins.fetch_add(1, std::memory_order_acq_rel);
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count, grain),
        [&body](const tbb::blocked_range<std::size_t>& range) {
            ensureSignalStack();
            forksAndJoins.fetch_add(1, std::memory_order_acq_rel);
            body(range.begin(), range.end());
            forksAndJoins.fetch_add(1, std::memory_order_acq_rel);
        },
        tbb::simple_partitioner());
    forksAndJoins.fetch_add(1, std::memory_order_acq_rel);
}

} // namespace orca

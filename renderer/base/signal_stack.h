// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca {

/// Gives the calling thread a stack of its own for signal handlers, unless it has one, so that a handler can
/// run where the thread's stack is full. Costs nothing after a thread's first call.
void ensureSignalStack();

/// True when `address` lies just beyond the end of the calling thread's stack. For signal handlers; false for
/// threads without a signal stack.
[[nodiscard]] bool isBeyondStack(const void* address) noexcept;

} // namespace orca

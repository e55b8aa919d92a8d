// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca {

/// Locks that shaders hold by handle; not recursive. A null handle is tolerated everywhere and locks nothing.
[[nodiscard]] miLock createLock();
void deleteLock(miLock lock) noexcept;
void lock(miLock lock);
void unlock(miLock lock) noexcept;

} // namespace orca

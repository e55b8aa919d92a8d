// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca {

/// Locks that shaders hold by handle; not recursive. A null handle is tolerated everywhere and locks nothing.
[[nodiscard]] miLock createLock();
void deleteLock(miLock lock);
void lock(miLock lock);
void unlock(miLock lock);

} // namespace orca

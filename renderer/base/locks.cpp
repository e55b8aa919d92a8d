// SPDX-License-Identifier: Apache-2.0
#include "base/locks.h"

#include <mutex>

struct miLockRecord {
    std::mutex mutex;
};

namespace orca {

miLock createLock() {
    return new miLockRecord;
}

void deleteLock(miLock lock) noexcept {
    delete lock;
}

void lock(miLock lock) {
    if (lock) lock->mutex.lock();
}

void unlock(miLock lock) noexcept {
    if (lock) lock->mutex.unlock();
}

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#include "base/memory.h"

#include "api/guarded.h"
#include "base/block_arena.h"
#include "base/locks.h"

#include <shader.h>

#include <cstddef>
#include <cstring>

using orca::MemoryLedger;
using orca::api::guarded;

extern "C" {

DLLEXPORT void* mi_mem_int_allocate(const char* file, int line, int size) {
    return guarded(__func__, nullptr,
                   [&] { return MemoryLedger::instance().allocateOrReport(file, line, size); });
}

DLLEXPORT void* mi_mem_int_test_allocate(const char* file, int line, int size) {
    return guarded(__func__, nullptr, [&] { return MemoryLedger::instance().allocate(file, line, size); });
}

DLLEXPORT char* mi_mem_int_strdup(const char* file, int line, const char* text) {
    if (!text) return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    void* const copy = mi_mem_int_allocate(file, line, static_cast<int>(size));
    return copy ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

DLLEXPORT void* mi_mem_int_reallocate(const char* file, int line, void* memory, int size) {
    return guarded(__func__, nullptr,
                   [&] { return MemoryLedger::instance().reallocateOrReport(file, line, memory, size); });
}

DLLEXPORT void mi_mem_int_release(const char* file, int line, void* memory) {
    guarded(__func__, [&] { MemoryLedger::instance().releaseOrReport(file, line, memory); });
}

DLLEXPORT miMemblk* mi_mem_int_blkcreate(const char* file, int line, int size) {
    return guarded(__func__, nullptr, [&] { return orca::createArena(file, line, size); });
}

DLLEXPORT void mi_mem_blkdelete(miMemblk* arena) {
    guarded(__func__, [&] { orca::deleteArena(arena); });
}

DLLEXPORT void* mi_mem_blkallocate(miMemblk* arena) {
    return guarded(__func__, nullptr, [&] { return orca::arenaAllocate(arena, true); });
}

DLLEXPORT void mi_mem_blkrelease(miMemblk* arena, void* block) {
    guarded(__func__, [&] { orca::arenaRelease(arena, block, true); });
}

DLLEXPORT void* mi_mem_blkfallocate(miMemblk* arena) {
    return guarded(__func__, nullptr, [&] { return orca::arenaAllocate(arena, false); });
}

DLLEXPORT void mi_mem_blkfrelease(miMemblk* arena, void* block) {
    guarded(__func__, [&] { orca::arenaRelease(arena, block, false); });
}

DLLEXPORT void mi_init_lock(miLock* lock) {
    *lock = guarded(__func__, nullptr, [] { return orca::createLock(); });
}

DLLEXPORT void mi_delete_lock(miLock* lock) {
    orca::deleteLock(*lock);
    *lock = nullptr;
}

DLLEXPORT void mi_lock(miLock lock) {
    guarded(__func__, [&] { orca::lock(lock); });
}

DLLEXPORT void mi_unlock(miLock lock) {
    orca::unlock(lock);
}

} // extern "C"

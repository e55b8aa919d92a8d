// SPDX-License-Identifier: Apache-2.0
#include "base/memory.h"

#include "base/locks.h"
#include "shading/active_renderer.h"

#include <shader.h>

using orca::MemoryLedger;

namespace {

void* orReport(void* memory, const char* file, int line, int size) {
    auto* log = orca::shading::activeRenderer().log;
    if (!memory && log) log->error("MEM", "{}:{}: cannot allocate {} bytes", file ? file : "?", line, size);
    return memory;
}

} // namespace

extern "C" {

DLLEXPORT void* mi_mem_int_allocate(const char* file, int line, int size) {
    return orReport(MemoryLedger::instance().allocate(file, line, size), file, line, size);
}

DLLEXPORT void* mi_mem_int_test_allocate(const char* file, int line, int size) {
    return MemoryLedger::instance().allocate(file, line, size);
}

DLLEXPORT void* mi_mem_int_reallocate(const char* file, int line, void* memory, int size) {
    void* const grown = MemoryLedger::instance().reallocate(file, line, memory, size);
    return size == 0 ? grown : orReport(grown, file, line, size);
}

DLLEXPORT void mi_mem_int_release(const char* file, int line, void* memory) {
    auto* log = orca::shading::activeRenderer().log;
    if (!MemoryLedger::instance().release(memory) && memory && log)
        log->error("MEM", "{}:{}: releases memory that is not allocated", file ? file : "?", line);
}

DLLEXPORT miMemblk* mi_mem_int_blkcreate(const char* file, int line, int size) {
    return MemoryLedger::instance().createArena(file, line, size);
}

DLLEXPORT void mi_mem_blkdelete(miMemblk* arena) {
    MemoryLedger::instance().deleteArena(arena);
}

DLLEXPORT void* mi_mem_blkallocate(miMemblk* arena) {
    return orca::arenaAllocate(arena, true);
}

DLLEXPORT void mi_mem_blkrelease(miMemblk* arena, void* block) {
    orca::arenaRelease(arena, block, true);
}

DLLEXPORT void* mi_mem_blkfallocate(miMemblk* arena) {
    return orca::arenaAllocate(arena, false);
}

DLLEXPORT void mi_mem_blkfrelease(miMemblk* arena, void* block) {
    orca::arenaRelease(arena, block, false);
}

DLLEXPORT void mi_init_lock(miLock* lock) {
    *lock = orca::createLock();
}

DLLEXPORT void mi_delete_lock(miLock* lock) {
    orca::deleteLock(*lock);
    *lock = nullptr;
}

DLLEXPORT void mi_lock(miLock lock) {
    orca::lock(lock);
}

DLLEXPORT void mi_unlock(miLock lock) {
    orca::unlock(lock);
}

} // extern "C"

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

miBEGIN_INTERFACE

/// Zeroed memory of `size` bytes, 16-byte aligned. File and line name the owner in the leak report.
void* mi_mem_int_allocate(const char* file, int line, int size);
/// As above; null instead of an error message when memory runs out.
void* mi_mem_int_test_allocate(const char* file, int line, int size);
/// Resizes; a grown part is zeroed, null allocates, size 0 releases.
void* mi_mem_int_reallocate(const char* file, int line, void* mem, int size);
/// A copy of a text, for `mi_mem_release`; null for null.
char* mi_mem_int_strdup(const char* file, int line, const char* text);
/// Frees; null is ignored.
void mi_mem_int_release(const char* file, int line, void* mem);

/// Arena of blocks of one size (rounded up to a multiple of the pointer size, at most 8192 bytes).
miMemblk* mi_mem_int_blkcreate(const char* file, int line, int size);
/// Deletes an arena with all its blocks.
void mi_mem_blkdelete(miMemblk* arena);
/// A zeroed block; safe from any thread.
void* mi_mem_blkallocate(miMemblk* arena);
void mi_mem_blkrelease(miMemblk* arena, void* block);
/// As the two above without a lock, for an arena that one thread owns.
void* mi_mem_blkfallocate(miMemblk* arena);
void mi_mem_blkfrelease(miMemblk* arena, void* block);

#define mi_mem_allocate(size) mi_mem_int_allocate(__FILE__, __LINE__, (size))
#define mi_mem_test_allocate(size) mi_mem_int_test_allocate(__FILE__, __LINE__, (size))
#define mi_mem_reallocate(mem, size) mi_mem_int_reallocate(__FILE__, __LINE__, (mem), (size))
#define mi_mem_strdup(text) mi_mem_int_strdup(__FILE__, __LINE__, (text))
#define mi_mem_release(mem) mi_mem_int_release(__FILE__, __LINE__, (mem))
#define mi_mem_blkcreate(size) mi_mem_int_blkcreate(__FILE__, __LINE__, (size))

/// Locks are not recursive.
void mi_init_lock(miLock* lock);
void mi_delete_lock(miLock* lock);
void mi_lock(miLock lock);
void mi_unlock(miLock lock);

miEND_INTERFACE

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <functional>

namespace orca {

// Arenas of blocks of one size, remembered with the file and line that their owner gave, which must outlive
// the arena as __FILE__ does.

/// Blocks of `blockSize` rounded up to a multiple of the pointer size; null above 8192 bytes.
[[nodiscard]] miMemblk* createArena(const char* file, int line, int blockSize);
/// Deletes the arena with all its blocks. Null is ignored.
void deleteArena(miMemblk* arena);

/// A zeroed block; null when memory runs out. `locked` false: the caller's thread alone uses the arena.
[[nodiscard]] void* arenaAllocate(miMemblk* arena, bool locked);
/// Null is ignored.
void arenaRelease(miMemblk* arena, void* block, bool locked);

/// One arena in the leak report.
struct ArenaUse {
    const char* file;
    int line;
    std::size_t blocks; ///< allocated and not released
    std::size_t bytes;  ///< held by the arena
};
/// Calls `visitor` for every arena that was not deleted.
void visitArenas(const std::function<void(const ArenaUse&)>& visitor);

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#include "base/block_arena.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <vector>

/// Blocks of one size, cut from chunks; freed blocks are chained through their first word.
struct miMemblk {
    const char* file;
    int line;
    std::size_t blockSize; // bytes, a multiple of the pointer size
    std::mutex mutex;      // guards the rest, where the callers ask for it
    void* free = nullptr;
    std::byte* fresh = nullptr; // the part of the last chunk that was never allocated
    std::size_t freshBlocks = 0;
    std::size_t used = 0; // blocks allocated
    std::size_t bytes = 0;
    std::vector<std::unique_ptr<std::byte[]>> chunks;
};

namespace orca {

namespace {

constexpr std::size_t largestBlock = 8192; // bytes
constexpr std::size_t chunkBytes = 64 * 1024;

struct Registry {
    std::mutex mutex;
    std::set<miMemblk*> arenas;
};

Registry& registry() {
    static auto* const alive = new Registry; // outlives every library that deletes arenas at exit
    return *alive;
}

void* take(miMemblk& arena) {
    void* block = arena.free;
    if (block) {
        std::memcpy(&arena.free, block, sizeof(void*));
    } else {
        if (arena.freshBlocks == 0) {
            const std::size_t blocks = std::max<std::size_t>(chunkBytes / arena.blockSize, 1);
            std::unique_ptr<std::byte[]> chunk(new (std::nothrow) std::byte[blocks * arena.blockSize]);
            if (!chunk) return nullptr;
            arena.fresh = chunk.get();
            arena.freshBlocks = blocks;
            arena.bytes += blocks * arena.blockSize;
            arena.chunks.push_back(std::move(chunk));
        }
        block = arena.fresh;
        arena.fresh += arena.blockSize;
        --arena.freshBlocks;
    }
    ++arena.used;
    std::memset(block, 0, arena.blockSize);
    return block;
}

void give(miMemblk& arena, void* block) {
    std::memcpy(block, &arena.free, sizeof(void*));
    arena.free = block;
    --arena.used;
}

} // namespace

miMemblk* createArena(const char* file, int line, int blockSize) {
    constexpr std::size_t unit = sizeof(void*);
    const std::size_t asked = blockSize > 0 ? static_cast<std::size_t>(blockSize) : unit;
    const std::size_t rounded = (asked + unit - 1) / unit * unit;
    if (rounded > largestBlock) return nullptr;
    auto arena = std::make_unique<miMemblk>();
    arena->file = file;
    arena->line = line;
    arena->blockSize = rounded;
    const std::lock_guard lock(registry().mutex);
    registry().arenas.insert(arena.get());
    return arena.release();
}

void deleteArena(miMemblk* arena) {
    if (!arena) return;
    {
        const std::lock_guard lock(registry().mutex);
        registry().arenas.erase(arena);
    }
    delete arena;
}

void visitArenas(const std::function<void(const ArenaUse&)>& visitor) {
    const std::lock_guard lock(registry().mutex);
    for (const miMemblk* arena : registry().arenas)
        visitor({arena->file, arena->line, arena->used, arena->bytes});
}

void* arenaAllocate(miMemblk* arena, bool locked) {
    if (!arena) return nullptr;
    if (!locked) return take(*arena);
    const std::lock_guard lock(arena->mutex);
    return take(*arena);
}

void arenaRelease(miMemblk* arena, void* block, bool locked) {
    if (!arena || !block) return;
    if (!locked) {
        give(*arena, block);
        return;
    }
    const std::lock_guard lock(arena->mutex);
    give(*arena, block);
}

} // namespace orca

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <list>
#include <map>
#include <memory>
#include <string>

/// An arena of the scripted allocator. Counts its live blocks.
struct miMemblk {
    int blockSize;
    std::map<void*, std::unique_ptr<char[]>> blocks;
};

/// The renderer's allocator: zeroed memory, every piece accounted for.
class ScriptedMemory {
public:
    struct Allocation {
        std::string file;
        int line;
        std::unique_ptr<char[]> memory;
    };

    bool failing = false; ///< allocations answer null from now on

    void* allocate(const char* file, int line, int size);
    /// Null is ignored. Throws std::logic_error, as its counterparts do, for what is not held.
    void release(void* memory);

    miMemblk* createArena(int blockSize);
    void deleteArena(miMemblk* arena);
    void* allocateBlock(miMemblk* arena);
    void releaseBlock(miMemblk* arena, void* block);

    /// What is held, by address.
    [[nodiscard]] const std::map<void*, Allocation>& held() const { return allocations_; }
    [[nodiscard]] int allocationsHeld() const { return static_cast<int>(allocations_.size()); }
    [[nodiscard]] int arenasHeld() const { return static_cast<int>(arenas_.size()); }
    [[nodiscard]] int blocksHeld() const;

private:
    std::map<void*, Allocation> allocations_;
    std::list<miMemblk> arenas_;
};

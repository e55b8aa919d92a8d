// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// An arena of the scripted allocator. Counts its live blocks.
struct miMemblk {
    int blockSize = 0;
    std::map<void*, std::unique_ptr<char[]>> blocks;
};

/// The renderer's allocator: zeroed memory, every piece accounted for.
class ScriptedMemory {
public:
    struct Allocation {
        std::string file;
        int line;
        int size;
    };

    ScriptedMemory() = default;
    ~ScriptedMemory();
    ScriptedMemory(const ScriptedMemory&) = delete;
    ScriptedMemory& operator=(const ScriptedMemory&) = delete;

    bool failing = false; ///< allocations answer null from now on

    void* allocate(const char* file, int line, int size);
    /// Null is ignored; memory that is not held counts as a stray release.
    void release(void* memory);

    miMemblk* createArena(int blockSize);
    void deleteArena(miMemblk* arena);
    void* allocateBlock(miMemblk* arena);
    void releaseBlock(miMemblk* arena, void* block);

    /// What is held, in order of address.
    [[nodiscard]] std::vector<Allocation> held() const;
    [[nodiscard]] int allocationsHeld() const { return static_cast<int>(allocations_.size()); }
    [[nodiscard]] int strayReleases() const { return strayReleases_; }
    [[nodiscard]] int arenasHeld() const { return static_cast<int>(arenas_.size()); }
    [[nodiscard]] int blocksHeld() const;

private:
    std::map<const void*, Allocation> allocations_;
    std::map<miMemblk*, std::unique_ptr<miMemblk>> arenas_;
    int strayReleases_ = 0;
};

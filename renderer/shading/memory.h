// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <string>
#include <vector>

namespace orca::shading {

/// The allocator behind mi_mem_*: zeroed, 16-byte aligned memory, every block remembered with the file and line that its
/// owner gave. One per process, as the interface's functions carry no context.
class MemoryLedger {
public:
    static MemoryLedger& instance();

    [[nodiscard]] void* allocate(const char* file, int line, int size);
    [[nodiscard]] void* reallocate(const char* file, int line, void* memory, int size);
    void release(void* memory);

    [[nodiscard]] miMemblk* createArena(const char* file, int line, int blockSize);
    void deleteArena(miMemblk* arena);

    struct Leak {
        std::string file;
        int line;
        std::size_t blocks, bytes;
    };
    /// What is still allocated, one entry per owner, arenas included.
    [[nodiscard]] std::vector<Leak> leaks() const;
};

[[nodiscard]] void* arenaAllocate(miMemblk* arena, bool locked);
void arenaRelease(miMemblk* arena, void* block, bool locked);

} // namespace orca::shading

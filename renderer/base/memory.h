// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orca {

/// The allocator behind mi_mem_*: zeroed, 16-byte aligned memory, every block remembered with the file and
/// line that its owner gave. One per process, as the interface's functions carry no context. Safe from any
/// thread; threads share no lock unless one frees what another allocated. The text that `file` points at must
/// outlive the block, as __FILE__ does: only the address is kept.
class MemoryLedger {
public:
    static MemoryLedger& instance();

    /// Null when memory runs out or for a negative size. Size 0 gives a valid block.
    [[nodiscard]] void* allocate(const char* file, int line, int size);
    /// The grown part is zeroed; null allocates, size 0 releases. Null, and the old block kept, when memory
    /// runs out.
    [[nodiscard]] void* reallocate(const char* file, int line, void* memory, int size);
    /// Null is ignored. False, and nothing done, for memory that is not a live block of this ledger.
    bool release(void* memory);

    /// As the three above, with an error in the active log that names the caller's file and line.
    [[nodiscard]] void* allocateOrReport(const char* file, int line, int size);
    [[nodiscard]] void* reallocateOrReport(const char* file, int line, void* memory, int size);
    void releaseOrReport(const char* file, int line, void* memory);

    struct Leak {
        std::string file;
        int line;
        std::size_t blocks, bytes;
        bool arena; ///< an arena that was not deleted; `blocks` counts its blocks in use
    };
    /// What is still allocated, one entry per owner, arenas included; sorted by file and line.
    [[nodiscard]] std::vector<Leak> leaks() const;
};

} // namespace orca

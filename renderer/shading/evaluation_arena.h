// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace orca::shading {

/// Stack of short-lived blocks: results of connected shaders, texture coordinates of hits. Memory is kept for
/// reuse, so that the path of a sample allocates nothing once warm.
class EvaluationArena {
public:
    struct Mark {
        std::size_t chunk, used;
    };
    [[nodiscard]] Mark mark() const { return {chunk_, used_}; }
    void release(Mark mark) {
        chunk_ = mark.chunk;
        used_ = mark.used;
    }
    /// Zeroed bytes, 16-byte aligned, until the arena is released to an earlier mark.
    [[nodiscard]] void* allocate(std::size_t size);

private:
    struct Chunk {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t size;
    };
    std::vector<Chunk> chunks_;
    std::size_t chunk_ = 0;
    std::size_t used_ = 0;
};

/// Releases what a scope took from an arena.
class ArenaScope {
public:
    explicit ArenaScope(EvaluationArena& arena) : arena_(arena), mark_(arena.mark()) {}
    ~ArenaScope() { arena_.release(mark_); }
    ArenaScope(const ArenaScope&) = delete;
    ArenaScope& operator=(const ArenaScope&) = delete;

private:
    EvaluationArena& arena_;
    EvaluationArena::Mark mark_;
};

} // namespace orca::shading

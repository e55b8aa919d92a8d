// SPDX-License-Identifier: Apache-2.0
#include "shading/evaluation_arena.h"

#include <algorithm>
#include <cstring>

namespace orca::shading {

namespace {

constexpr std::size_t alignment = 16;
constexpr std::size_t usualChunk = 64 * 1024; // bytes; holds the connected results of most shading trees

} // namespace

void* EvaluationArena::allocate(std::size_t size) {
    size = (size + alignment - 1) / alignment * alignment;
    // Chunks behind the current one may be left from a deeper tree; one that is too small is skipped, not
    // freed, because a mark can still point into it.
    while (chunk_ < chunks_.size() && used_ + size > chunks_[chunk_].size) {
        ++chunk_;
        used_ = 0;
    }
    if (chunk_ == chunks_.size()) {
        const std::size_t chunkSize = std::max(size, usualChunk);
        chunks_.push_back({std::make_unique_for_overwrite<std::byte[]>(chunkSize), chunkSize});
        used_ = 0;
    }
    std::byte* const block = chunks_[chunk_].bytes.get() + used_;
    used_ += size;
    std::memset(block, 0, size);
    return block;
}

} // namespace orca::shading

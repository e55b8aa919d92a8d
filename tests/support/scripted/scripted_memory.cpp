// SPDX-License-Identifier: Apache-2.0
#include "scripted_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

ScriptedMemory::~ScriptedMemory() {
    for (const auto& [memory, allocation] : allocations_) std::free(const_cast<void*>(memory));
}

void* ScriptedMemory::allocate(const char* file, int line, int size) {
    if (failing) return nullptr;
    void* const memory = std::calloc(1, static_cast<std::size_t>(std::max(size, 1)));
    allocations_[memory] = {file, line, size};
    return memory;
}

void ScriptedMemory::release(void* memory) {
    if (!memory) return;
    if (allocations_.erase(memory) == 0) ++strayReleases_;
    else std::free(memory);
}

miMemblk* ScriptedMemory::createArena(int blockSize) {
    auto arena = std::make_unique<miMemblk>();
    arena->blockSize = blockSize;
    miMemblk* const handle = arena.get();
    arenas_[handle] = std::move(arena);
    return handle;
}

void ScriptedMemory::deleteArena(miMemblk* arena) {
    if (arenas_.erase(arena) == 0) throw std::logic_error("mi_mem_blkdelete of an unknown arena");
}

void* ScriptedMemory::allocateBlock(miMemblk* arena) {
    auto block = std::make_unique<char[]>(static_cast<std::size_t>(arena->blockSize));
    void* const address = block.get();
    arena->blocks[address] = std::move(block);
    return address;
}

void ScriptedMemory::releaseBlock(miMemblk* arena, void* block) {
    if (arena->blocks.erase(block) == 0)
        throw std::logic_error("release of a block that its arena does not hold");
}

std::vector<ScriptedMemory::Allocation> ScriptedMemory::held() const {
    std::vector<Allocation> all;
    for (const auto& [memory, allocation] : allocations_) all.push_back(allocation);
    return all;
}

int ScriptedMemory::blocksHeld() const {
    std::size_t blocks = 0;
    for (const auto& [handle, arena] : arenas_) blocks += arena->blocks.size();
    return static_cast<int>(blocks);
}

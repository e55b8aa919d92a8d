// SPDX-License-Identifier: Apache-2.0
#include "scripted_memory.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace {

std::unique_ptr<char[]> zeroed(int size) {
    return std::make_unique<char[]>(static_cast<std::size_t>(std::max(size, 1)));
}
void expectHeld(bool held) {
    if (!held) throw std::logic_error("release of memory that is not held");
}

} // namespace

void* ScriptedMemory::allocate(const char* file, int line, int size) {
    if (failing) return nullptr;
    auto memory = zeroed(size);
    void* const address = memory.get();
    allocations_[address] = {file, line, std::move(memory)};
    return address;
}

void ScriptedMemory::release(void* memory) {
    expectHeld(!memory || allocations_.erase(memory) != 0);
}

miMemblk* ScriptedMemory::createArena(int blockSize) {
    return &arenas_.emplace_back(miMemblk{blockSize, {}});
}

void ScriptedMemory::deleteArena(miMemblk* arena) {
    expectHeld(arenas_.remove_if([=](const miMemblk& held) { return &held == arena; }) != 0);
}

void* ScriptedMemory::allocateBlock(miMemblk* arena) {
    auto block = zeroed(arena->blockSize);
    void* const address = block.get();
    arena->blocks[address] = std::move(block);
    return address;
}

void ScriptedMemory::releaseBlock(miMemblk* arena, void* block) {
    expectHeld(arena->blocks.erase(block) != 0);
}

int ScriptedMemory::blocksHeld() const {
    return std::accumulate(arenas_.begin(), arenas_.end(), 0, [](int sum, const miMemblk& arena) {
        return sum + static_cast<int>(arena.blocks.size());
    });
}

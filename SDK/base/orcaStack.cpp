// SPDX-License-Identifier: Apache-2.0
#include "orcaStack.h"

#include <atomic>

ThreadArena* tla_list = nullptr;

namespace {

constexpr const char* sourceName = "orcaVelaState";
constexpr int entryLine = 1;
constexpr int arenaLine = 2;

class Locked {
public:
    explicit Locked(miLock lock) : lock_(lock) { mi_lock(lock_); }
    ~Locked() { mi_unlock(lock_); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    miLock lock_;
};

std::atomic_ref<ThreadArena*> head() {
    return std::atomic_ref<ThreadArena*>(tla_list);
}

void*& linkOf(void* node) {
    return *static_cast<void**>(node);
}

} // namespace

miMemblk* get_tla(miLock lock, miUint threadKey, miUint elementSize) {
    // Entries are complete before they are published and live until all are cleared, so that the search needs
    // no lock.
    for (ThreadArena* entry = head().load(std::memory_order_acquire); entry; entry = entry->next)
        if (entry->threadKey == threadKey && entry->elementSize == elementSize) return entry->arena;

    auto* entry = static_cast<ThreadArena*>(mi_mem_int_allocate(sourceName, entryLine, sizeof(ThreadArena)));
    entry->threadKey = threadKey;
    entry->elementSize = elementSize;
    entry->arena = mi_mem_int_blkcreate(sourceName, arenaLine, static_cast<int>(elementSize));
    const Locked locked(lock);
    entry->next = head().load(std::memory_order_relaxed);
    head().store(entry, std::memory_order_release);
    return entry->arena;
}

void clr_tla_list(miLock lock) {
    const Locked locked(lock);
    ThreadArena* entry = head().load(std::memory_order_relaxed);
    head().store(nullptr, std::memory_order_release);
    while (entry) {
        ThreadArena* const next = entry->next;
        mi_mem_blkdelete(entry->arena);
        mi_mem_int_release(sourceName, entryLine, entry);
        entry = next;
    }
}

void stack_create(miState* state, VelaStack* stack, miUint elementSize) {
    stack->top = nullptr;
    stack->count = 0;
    stack->arena = get_tla(state->global_lock, static_cast<miUint>(state->thread), elementSize);
}

void* stack_push(VelaStack* stack) {
    void* const node = mi_mem_blkfallocate(stack->arena);
    linkOf(node) = stack->top;
    stack->top = node;
    ++stack->count;
    return node;
}

void stack_pop(VelaStack* stack) {
    if (!stack->top) return;
    void* const below = linkOf(stack->top);
    mi_mem_blkfrelease(stack->arena, stack->top);
    stack->top = below;
    --stack->count;
}

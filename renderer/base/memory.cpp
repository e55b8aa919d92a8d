// SPDX-License-Identifier: Apache-2.0
#include "base/memory.h"

#include "base/active_log.h"
#include "base/block_arena.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <tuple>

namespace orca {

namespace {

struct Shard;

/// Precedes every block. The blocks of a shard form a ring.
struct alignas(16) Header {
    Header* next;
    Header* previous;
    Shard* shard;
    const char* file;
    std::uint32_t line;
    std::uint32_t size; // bytes that the owner asked for
    std::uint64_t seal; // live or not: catches a second release and foreign pointers
};
static_assert(sizeof(Header) % 16 == 0);

constexpr std::uint64_t liveSeal = 0x4C495645424C4F43u;
constexpr std::uint64_t deadSeal = 0x44454144424C4F43u;

struct alignas(64) Shard {
    std::mutex mutex; // guards the ring
    Header ring{&ring, &ring, nullptr, nullptr, 0, 0, 0};

    void link(Header* header) {
        header->shard = this;
        const std::lock_guard lock(mutex);
        header->previous = &ring;
        header->next = ring.next;
        ring.next->previous = header;
        ring.next = header;
    }
    void unlink(Header* header) {
        const std::lock_guard lock(mutex);
        header->previous->next = header->next;
        header->next->previous = header->previous;
    }
};

/// More shards than a machine has busy threads, so that two of them seldom share one.
std::array<Shard, 128>& shards() {
    static auto* const all = new std::array<Shard, 128>; // outlives every library that frees at exit
    return *all;
}

Shard& shardOfThread() {
    static std::atomic<unsigned> threads{0};
    thread_local const unsigned index = threads.fetch_add(1, std::memory_order_relaxed);
    return shards()[index % shards().size()];
}

Header* headerOf(void* memory) {
    auto* const header = static_cast<Header*>(memory) - 1;
    return header->seal == liveSeal ? header : nullptr;
}

void reportNoMemory(const char* file, int line, int size) {
    activeLog().error("MEM", "{}:{}: cannot allocate {} bytes", file ? file : "?", line, size);
}

} // namespace

MemoryLedger& MemoryLedger::instance() {
    static MemoryLedger ledger;
    return ledger;
}

void* MemoryLedger::allocate(const char* file, int line, int size) {
    if (size < 0) return nullptr;
    auto* const header =
        static_cast<Header*>(std::calloc(1, sizeof(Header) + static_cast<std::size_t>(size)));
    if (!header) return nullptr;
    header->file = file;
    header->line = static_cast<std::uint32_t>(line);
    header->size = static_cast<std::uint32_t>(size);
    header->seal = liveSeal;
    shardOfThread().link(header);
    return header + 1;
}

void* MemoryLedger::reallocate(const char* file, int line, void* memory, int size) {
    if (!memory) return allocate(file, line, size);
    if (size == 0) {
        release(memory);
        return nullptr;
    }
    const Header* const old = headerOf(memory);
    void* const grown = old ? allocate(file, line, size) : nullptr;
    if (!grown) return nullptr;
    std::memcpy(grown, memory, std::min<std::size_t>(old->size, static_cast<std::size_t>(size)));
    release(memory);
    return grown;
}

bool MemoryLedger::release(void* memory) {
    if (!memory) return true;
    Header* const header = headerOf(memory);
    if (!header) return false;
    header->shard->unlink(header);
    header->seal = deadSeal;
    std::free(header);
    return true;
}

void* MemoryLedger::allocateOrReport(const char* file, int line, int size) {
    void* const memory = allocate(file, line, size);
    if (!memory) reportNoMemory(file, line, size);
    return memory;
}

void* MemoryLedger::reallocateOrReport(const char* file, int line, void* memory, int size) {
    void* const grown = reallocate(file, line, memory, size);
    if (!grown && size != 0) reportNoMemory(file, line, size);
    return grown;
}

void MemoryLedger::releaseOrReport(const char* file, int line, void* memory) {
    if (!release(memory))
        activeLog().error("MEM", "{}:{}: releases memory that is not allocated", file ? file : "?", line);
}

std::vector<MemoryLedger::Leak> MemoryLedger::leaks() const {
    std::map<std::tuple<std::string, int, bool>, Leak> byOwner;
    const auto add = [&](const char* file, int line, std::size_t blocks, std::size_t bytes, bool arena) {
        const std::string name = file ? file : "(no file given)";
        Leak& leak = byOwner.try_emplace({name, line, arena}, Leak{name, line, 0, 0, arena}).first->second;
        leak.blocks += blocks;
        leak.bytes += bytes;
    };
    for (Shard& shard : shards()) {
        const std::lock_guard lock(shard.mutex);
        for (const Header* header = shard.ring.next; header != &shard.ring; header = header->next)
            add(header->file, static_cast<int>(header->line), 1, header->size, false);
    }
    visitArenas([&](const ArenaUse& use) { add(use.file, use.line, use.blocks, use.bytes, true); });

    std::vector<Leak> leaks;
    for (auto& [owner, leak] : byOwner) leaks.push_back(std::move(leak));
    return leaks;
}

} // namespace orca

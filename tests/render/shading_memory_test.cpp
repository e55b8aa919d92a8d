// SPDX-License-Identifier: Apache-2.0
#include "base/block_arena.h"
#include "base/memory.h"
#include "shading/evaluation_arena.h"
#include "shading/sibling_results.h"
#include "shading/state_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace orca;
using namespace orca::shading;

MemoryLedger& ledger = MemoryLedger::instance();

/// Leaks of one made-up source file.
std::vector<MemoryLedger::Leak> leaksOf(const std::string& file) {
    std::vector<MemoryLedger::Leak> all = ledger.leaks();
    std::erase_if(all, [&](const auto& leak) { return leak.file != file; });
    return all;
}

bool isZero(const void* memory, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(memory);
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST(Ledger, GroupsWhatIsLeftByItsOwner) {
    void* const a = ledger.allocate("paint.cpp", 12, 100);
    void* const b = ledger.allocate("paint.cpp", 12, 28);
    void* const c = ledger.allocate("paint.cpp", 40, 0);
    auto leaks = leaksOf("paint.cpp");
    ASSERT_EQ(leaks.size(), 2u);
    EXPECT_EQ(leaks[0].line, 12);
    EXPECT_EQ(leaks[0].blocks, 2u);
    EXPECT_EQ(leaks[0].bytes, 128u);
    EXPECT_EQ(leaks[1].line, 40);
    for (void* memory : {a, b, c}) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0u);
        EXPECT_TRUE(ledger.release(memory));
    }
    EXPECT_TRUE(leaksOf("paint.cpp").empty());
    EXPECT_TRUE(ledger.release(nullptr));
    EXPECT_EQ(ledger.allocate("paint.cpp", 1, -5), nullptr);
}

TEST(Ledger, ReallocationKeepsAndZeroes) {
    auto* memory = static_cast<char*>(ledger.reallocate("grow.cpp", 1, nullptr, 20));
    std::memset(memory, 'x', 20);
    memory = static_cast<char*>(ledger.reallocate("grow.cpp", 2, memory, 1000));
    EXPECT_EQ(memory[19], 'x');
    EXPECT_TRUE(isZero(memory + 20, 980));
    memory = static_cast<char*>(ledger.reallocate("grow.cpp", 3, memory, 4));
    EXPECT_EQ(memory[3], 'x');
    const auto leaks = leaksOf("grow.cpp");
    ASSERT_EQ(leaks.size(), 1u);
    EXPECT_EQ(leaks[0].line, 3);
    EXPECT_EQ(ledger.reallocate("grow.cpp", 4, memory, 0), nullptr);
    EXPECT_TRUE(leaksOf("grow.cpp").empty());
}

TEST(BlockArena, ReusesZeroedBlocksAndIsListedUntilDeleted) {
    EXPECT_EQ(createArena("arena.cpp", 1, 8193), nullptr);
    miMemblk* const arena = createArena("arena.cpp", 7, 20);
    std::vector<char*> blocks;
    for (int i = 0; i < 5000; ++i) {
        auto* const block = static_cast<char*>(arenaAllocate(arena, i % 2 == 0));
        ASSERT_TRUE(isZero(block, 24));
        std::memset(block, 0xFF, 24);
        blocks.push_back(block);
    }
    std::sort(blocks.begin(), blocks.end());
    for (std::size_t i = 1; i < blocks.size(); ++i) ASSERT_GE(blocks[i] - blocks[i - 1], 24);

    arenaRelease(arena, blocks[17], false);
    arenaRelease(arena, nullptr, true);
    EXPECT_EQ(arenaAllocate(arena, true), blocks[17]);
    EXPECT_TRUE(isZero(blocks[17], 24));
    for (int i = 0; i < 10; ++i) arenaRelease(arena, blocks[static_cast<std::size_t>(i)], true);

    const auto leaks = leaksOf("arena.cpp");
    ASSERT_EQ(leaks.size(), 1u);
    EXPECT_TRUE(leaks[0].arena);
    EXPECT_EQ(leaks[0].line, 7);
    EXPECT_EQ(leaks[0].blocks, 4990u);
    deleteArena(arena);
    EXPECT_TRUE(leaksOf("arena.cpp").empty());
}

TEST(StateStore, KeepsAddressesWhileEntriesComeAndGo) {
    StateStore store;
    const int seven = 7;
    store.set("velabase", &seven, sizeof seven, miSS_LIFETIME_RECT);
    int size = 0;
    auto* const address = static_cast<int*>(store.get("velabase", &size));
    EXPECT_EQ(size, 4);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % 16, 0u);
    std::vector<std::string> keys;
    for (int i = 0; i < 300; ++i) keys.push_back("key" + std::to_string(i));
    for (int i = 0; i < 300; ++i)
        store.set(keys[static_cast<std::size_t>(i)].c_str(), &i, sizeof i, miSS_LIFETIME_EYERAY);
    EXPECT_EQ(store.get("velabase", nullptr), address);
    EXPECT_EQ(*static_cast<int*>(store.get("key299", nullptr)), 299);

    // The same buffer with another text must not be taken for the earlier key, however often it was asked
    // for.
    char key[16] = "key5";
    for (int i = 0; i < 3; ++i) EXPECT_EQ(*static_cast<int*>(store.get(key, nullptr)), 5);
    std::strcpy(key, "key6");
    EXPECT_EQ(*static_cast<int*>(store.get(key, nullptr)), 6);

    const int eight = 8;
    store.set("velabase", &eight, sizeof eight, miSS_LIFETIME_RECT);
    EXPECT_EQ(store.get("velabase", nullptr), address);
    EXPECT_EQ(*address, 8);
    EXPECT_NE(store.get(key, nullptr), nullptr);
    store.endSample();
    EXPECT_EQ(store.get(key, nullptr), nullptr);
    EXPECT_EQ(store.get("velabase", nullptr), address);
    int visits = 0;
    store.visit(
        store.keys(),
        [](const char*, void*, int, void* user) -> miBoolean { return ++*static_cast<int*>(user) > 0; },
        &visits);
    EXPECT_EQ(visits, 1);
    store.set("velabase", nullptr, 4, miSS_LIFETIME_RECT);
    EXPECT_EQ(store.get("velabase", nullptr), nullptr);
}

TEST(EvaluationArena, ReusesReleasedMemoryAndNeverMovesWhatIsHeld) {
    EvaluationArena arena;
    void* const first = arena.allocate(100);
    std::memset(first, 0xAA, 100);
    const auto mark = arena.mark();
    std::set<void*> before;
    for (int i = 0; i < 50; ++i) before.insert(arena.allocate(10000));
    EXPECT_EQ(before.size(), 50u);
    void* const large = arena.allocate(1 << 20);
    std::memset(large, 0xBB, 1 << 20);
    arena.release(mark);
    EXPECT_TRUE(before.count(arena.allocate(16)));
    for (int i = 0; i < 60; ++i) ASSERT_TRUE(isZero(arena.allocate(30000), 30000));
    EXPECT_EQ(static_cast<unsigned char*>(first)[99], 0xAA);
}

/// Three parameters of a shader that are connected to members of one result.
struct SiblingFixture : ::testing::Test {
    SiblingFixture() { state.tex_list = &coordinate; }
    char* find(int parameter, miTag from = source) {
        return siblings.find(state, from, &parameters[parameter]);
    }
    void compute(int parameter) { siblings.add(state, source, &parameters[parameter], result); }

    static constexpr miTag source = 5;
    SiblingResults siblings;
    miState state{};
    miVector coordinate{};
    miState other{};
    int parameters[3]{};
    char result[1]{};
};

TEST_F(SiblingFixture, ShareAResultWhileTheStateIsWhatItWas) {
    EXPECT_EQ(find(0), nullptr);
    compute(0);
    EXPECT_EQ(find(1, 6), nullptr);
    EXPECT_EQ(find(1), result);
    state.child = &other; // a ray that the shader has cast
    EXPECT_EQ(find(2), result);
    EXPECT_EQ(find(0), nullptr) << "a parameter that is read again is computed again";
    EXPECT_EQ(find(1), nullptr);
}

TEST_F(SiblingFixture, AreComputedAnewWhereAShaderWouldSeeSomethingElse) {
    for (const auto change : {+[](SiblingFixture& f) { f.state.point.x += 1; },
                              +[](SiblingFixture& f) { f.state.type = miRAY_SHADOW; },
                              +[](SiblingFixture& f) { f.coordinate.y = 0.5f; },
                              +[](SiblingFixture& f) { f.siblings.flush(); }}) {
        compute(0);
        change(*this);
        EXPECT_EQ(find(1), nullptr);
        siblings.flush();
    }
    compute(0);
    EXPECT_EQ(siblings.find(other, source, &parameters[1]), nullptr);
}

TEST_F(SiblingFixture, AreTheRunningShadersOwn) {
    compute(0);
    const SiblingResults::Mark caller = siblings.enter();
    EXPECT_EQ(find(1), nullptr);
    compute(2);
    siblings.flush();
    compute(2);
    siblings.leave(caller);
    EXPECT_EQ(find(1), result);
    EXPECT_EQ(find(2), result);
}

} // namespace

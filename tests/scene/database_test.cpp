// SPDX-License-Identifier: Apache-2.0
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <gtest/gtest.h>

#include <thread>

namespace orca::scene {
namespace {

TEST(Pins, BalanceAcrossThreadsAndAreListedByName) {
    Database database;
    const miTag text = database.internString("hello");
    EXPECT_EQ(database.internString("hello"), text);
    const miTag lost = database.internString("lost");
    database.find<StringElement>(lost)->readable = false;
    auto named = std::make_unique<GroupElement>();
    named->name = "world";
    const miTag group = database.add(std::move(named));

    EXPECT_STREQ(static_cast<const char*>(database.access(text)), "hello");
    EXPECT_EQ(database.access(lost), nullptr);
    EXPECT_EQ(database.access(0), nullptr);
    EXPECT_EQ(database.access(12345678), nullptr);
    EXPECT_EQ(database.pinsHeld(), 1);

    constexpr int threadCount = 4, pins = 1000;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&database, group, t] {
            for (int i = 0; i < pins; ++i) {
                database.access(group);
                if (t != 0) database.unpin(group);
                // Growth while others look up and pin.
                database.internString(std::to_string(t) + "." + std::to_string(i));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(database.pinsHeld(), pins + 1);
    for (int i = 0; i < pins - 2; ++i) database.unpin(group); // another thread than the one that took them
    const auto unbalanced = database.unbalancedPins();
    ASSERT_EQ(unbalanced.size(), 2u);
    EXPECT_EQ(unbalanced[0].name, "unnamed string");
    EXPECT_EQ(unbalanced[1].name, "world");
    EXPECT_EQ(unbalanced[1].pins, 2);
    database.unpin(group);
    database.unpin(group);
    database.unpin(text);
    EXPECT_TRUE(database.unbalancedPins().empty());
}

TEST(Pins, OfTwoDatabasesAreKeptApart) {
    Database first, second;
    const miTag a = first.internString("a");
    const miTag b = second.internString("b");
    for (int i = 0; i < 3; ++i) {
        first.access(a);
        second.access(b);
        second.unpin(b);
    }
    EXPECT_EQ(first.pinsHeld(), 3);
    EXPECT_EQ(second.pinsHeld(), 0);
}

TEST(Tags, AreNeverUsedTwice) {
    Database database;
    const miTag first = database.internString("first");
    database.remove(first);
    EXPECT_EQ(database.get(first), nullptr);
    std::vector<Element*> elements;
    for (int i = 0; i < 10000; ++i)
        elements.push_back(database.get(database.add(std::make_unique<GroupElement>())));
    for (int i = 0; i < 10000; ++i) EXPECT_EQ(database.get(first + 1 + i), elements[i]);
}

} // namespace
} // namespace orca::scene

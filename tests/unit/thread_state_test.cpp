// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaFrameBufferRecords.h"
#include "orcaStack.h"
#include "orcaTimeSampler.h"
#include "orcaUserData.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

namespace {

TEST(ThreadArenas, AreOnePerThreadAndElementSize) {
    ScriptedRenderer renderer;
    const miLock lock = renderer.state.global_lock;
    miMemblk* const arena = get_tla(lock, 1, 16);
    EXPECT_EQ(get_tla(lock, 1, 16), arena);
    EXPECT_NE(get_tla(lock, 2, 16), arena);
    EXPECT_NE(get_tla(lock, 1, 24), arena);
    EXPECT_EQ(get_tla(lock, 1, 16), arena);
    EXPECT_EQ(renderer.callCount("mi_lock"), 3);    // only when the list grows
    for (int i = 0; i < 2; ++i) clr_tla_list(lock); // the second finds nothing
    EXPECT_EQ(renderer.memory.arenasHeld() + renderer.memory.allocationsHeld() + renderer.locksHeld, 0);
}

TEST(VelaStackNodes, ComeBackInReverseOrderAndAnEmptyStackStaysEmpty) {
    struct Node {
        Node* below;
        int payload;
    };
    ScriptedRenderer renderer;
    VelaStack stack{};
    stack_create(&renderer.state, &stack, sizeof(Node));
    stack_pop(&stack);
    EXPECT_EQ(stack.count, 0);
    for (int i = 0; i < 3; ++i) static_cast<Node*>(stack_push(&stack))->payload = i;
    for (int i = 2; i >= 0; --i, stack_pop(&stack)) {
        EXPECT_EQ(stack.count, i + 1);
        EXPECT_EQ(static_cast<Node*>(stack.top)->payload, i);
    }
    EXPECT_EQ(stack.top, nullptr);
    EXPECT_EQ(renderer.memory.blocksHeld(), 0);
    clr_tla_list(renderer.state.global_lock);
}

TEST(TimeSampler, TakesAsManyStepsAsTheContrastAsksFor) {
    constexpr int unknown = -1;
    const auto contrast = [](float c) { return miColor{c, 0.9f, 2.0f, 0.0f}; };
    const struct {
        miColor contrast;
        float begin, end;
        int gather, moving, samples;
    } cases[] = {{contrast(0.25f), 0, 1, 0, 0, 4},      {contrast(0.3f), 0.5f, 1, 0, 0, 3},
                 {contrast(0.1f), 0, 1, 0, 0, 10}, // despite rounding
                 {contrast(0.004f), 0, 1, 0, 0, 100},   {{1, 1, 1, 0}, 0, 1, 0, 0, 1},
                 {contrast(0), 0, 1, 0, 0, 1},          {{0.9f, 0.5f, 0.25f, 0.01f}, 0, 1, 0, 0, 4},
                 {contrast(0.25f), 1, 1, 0, 0, 1}, // a closed shutter
                 {contrast(0.25f), 0, 1, 1, 0, 1},      {contrast(0.25f), 0, 1, unknown, 0, 4},
                 {contrast(0.25f), 0, 1, 0, 1, 1}, // the renderer samples motion
                 {contrast(0.25f), 0, 1, 0, unknown, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        ScriptedRenderer renderer;
        miState& state = renderer.state;
        renderer.options.time_contrast = c.contrast;
        renderer.options.shutter_delay = c.begin;
        renderer.options.shutter = c.end;
        const float start = state.time = c.begin + 0.4f * (c.end - c.begin);
        for (const auto& [query, answer] :
             {std::pair{miQ_FINALGATHER_STATE, c.gather}, {miQ_SAMPLE_MOVING, c.moving}}) {
            if (answer == unknown) renderer.refuse(query);
            else renderer.answer(query, answer);
        }
        tmsampler sampler;
        int taken = 0;
        for (tmsampler_init(&sampler, &state, true); !tmsampler_isDone(&sampler);
             tmsampler_next(&sampler, &state)) {
            ++taken;
            EXPECT_LE(state.time, c.end);
        }
        EXPECT_EQ(taken, c.samples);
        EXPECT_NEAR(state.time, start, 1e-4f); // once round the shutter, up to the sum of the roundings
        tmsampler_init(&sampler, &state, false);
        EXPECT_EQ(sampler.count, 1);
    }
}

class UserDataChain : public ::testing::Test {
protected:
    static constexpr miUint magic = VELA_MAGIC, reversed = 0x616C6556;

    void* search(int elementType, miTag tag, bool acceptSwapped = true) {
        swapped = -1;
        return get_userdata(VELA_MAGIC, elementType, tag, &found, acceptSwapped ? &swapped : nullptr);
    }
    /// The search found `tag` and holds that one pin, or, for the null tag, nothing.
    void expectFound(void* block, miTag tag) {
        EXPECT_EQ(block, tag == miNULLTAG ? nullptr : database.element<miUserdata>(tag).parameters);
        EXPECT_EQ(renderer.pinsHeld(), tag != miNULLTAG);
        if (tag == miNULLTAG) return;
        EXPECT_EQ(found, tag);
        mi_db_unpin(tag);
    }

    ScriptedRenderer renderer;
    ScriptedDatabase& database = renderer.database;
    unsigned found = 0;
    int swapped = -1;
};

TEST_F(UserDataChain, IsWalkedToTheFirstBlockWithTheMagicOfAnObjectToo) {
    const miTag later = database.addUserData({magic, 2});
    const miTag wanted = database.addUserData({magic, 1}, later);
    const miTag head = database.addUserData({5}, database.addUserData({}, wanted));
    expectFound(search(miSCENE_USERDATA, head, false), wanted);
    expectFound(search(miSCENE_USERDATA, head), wanted);
    EXPECT_EQ(swapped, 0);
    const miTag other = database.addUserData({reversed}, later); // the other byte order
    expectFound(search(miSCENE_USERDATA, other, false), later);
    expectFound(search(miSCENE_USERDATA, other), other);
    EXPECT_EQ(swapped, 1);
    for (const miTag none : {database.addUserData({5}), miTag{miNULLTAG}, miTag{9999},
                             database.addUserData({5}, database.addString("no user data"))})
        expectFound(search(miSCENE_USERDATA, none), miNULLTAG);

    const miTag object = database.addObject(wanted), lamp = database.add(miSCENE_LIGHT, miLight{});
    expectFound(search(miSCENE_OBJECT, object), wanted);
    expectFound(search(miSCENE_OBJECT, database.addInstance(object)), wanted);
    for (const auto& [type, none] : {std::pair{miSCENE_OBJECT, database.addInstance(lamp, wanted)},
                                     {miSCENE_LIGHT, lamp},
                                     {miSCENE_LIGHT, object},
                                     {miSCENE_OBJECT, miTag{miNULLTAG}}})
        expectFound(search(type, none), miNULLTAG);
}

TEST_F(UserDataChain, HoldsBlocksOfSeveralKindsOnAnObject) {
    const miTag second = database.addUserData({magic, 2});
    const miTag first = database.addUserData({magic, 1}, database.addUserData({5, 2}, second));
    const miTag object = database.addObject(database.addUserData({magic}, first)); // too short for a kind
    const miTag instance = database.addInstance(object);
    for (const auto& [tag, kind, wanted] :
         {std::tuple{instance, 1, first},
          {instance, 2, second},
          {object, 2, second},
          {instance, 3, miTag{miNULLTAG}},
          {database.addInstance(database.addObject()), 2, miTag{miNULLTAG}}})
        expectFound(velaObjectData(tag, kind, &found), wanted);
}

} // namespace

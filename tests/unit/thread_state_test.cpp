// SPDX-License-Identifier: Apache-2.0
#include "orcaCamera.h"
#include "orcaConstants.h"
#include "orcaFrameBufferRecords.h"
#include "orcaStack.h"
#include "orcaTimeSampler.h"
#include "orcaUserData.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

// --- arenas and stacks

TEST(ThreadArenas, AreOnePerThreadAndElementSize) {
    ScriptedRenderer renderer;
    const miLock lock = renderer.state.global_lock;
    miMemblk* const arena = get_tla(lock, 1, 16);
    EXPECT_EQ(get_tla(lock, 1, 16), arena);
    EXPECT_NE(get_tla(lock, 2, 16), arena);
    EXPECT_NE(get_tla(lock, 1, 24), arena);
    EXPECT_EQ(get_tla(lock, 1, 16), arena);
    EXPECT_EQ(renderer.memory.arenasHeld(), 3);
    EXPECT_EQ(renderer.callCount("mi_lock"), 3); // only when the list grows
    clr_tla_list(lock);
    EXPECT_EQ(renderer.memory.arenasHeld(), 0);
    EXPECT_EQ(renderer.memory.allocationsHeld(), 0);
    EXPECT_EQ(renderer.locksHeld, 0);
    clr_tla_list(lock); // nothing left, nothing happens
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
    for (int i = 2; i >= 0; --i) {
        EXPECT_EQ(stack.count, i + 1);
        EXPECT_EQ(static_cast<Node*>(stack.top)->payload, i);
        stack_pop(&stack);
    }
    EXPECT_EQ(stack.top, nullptr);
    EXPECT_EQ(renderer.memory.blocksHeld(), 0);
    clr_tla_list(renderer.state.global_lock);
}

// --- time

struct TimeCase {
    const char* what;
    bool enabled;
    miColor contrast;
    float begin, end;
    int gather, moving;
    int samples;
};
class TimeSampler : public ::testing::TestWithParam<TimeCase> {};

TEST_P(TimeSampler, TakesAsManyStepsAsTheContrastAsksFor) {
    const TimeCase& at = GetParam();
    ScriptedRenderer renderer;
    renderer.options.time_contrast = at.contrast;
    renderer.options.shutter_delay = at.begin;
    renderer.options.shutter = at.end;
    renderer.state.time = at.begin + 0.4f * (at.end - at.begin);
    const float startTime = renderer.state.time;
    renderer.answer(miQ_FINALGATHER_STATE, at.gather);
    renderer.answer(miQ_SAMPLE_MOVING, at.moving);
    if (at.gather < 0) renderer.refuse(miQ_FINALGATHER_STATE);
    if (at.moving < 0) renderer.refuse(miQ_SAMPLE_MOVING);

    tmsampler sampler;
    int taken = 0;
    for (tmsampler_init(&sampler, &renderer.state, at.enabled); !tmsampler_isDone(&sampler);
         tmsampler_next(&sampler, &renderer.state)) {
        ++taken;
        EXPECT_LE(renderer.state.time, at.end > at.begin ? at.end : startTime);
    }
    EXPECT_EQ(taken, at.samples);
    EXPECT_NEAR(renderer.state.time, startTime,
                1e-4f); // once round the shutter, up to the sum of the roundings
}

constexpr miColor contrast(float c) {
    return {c, 0.9f, 2.0f, 0.0f};
}
INSTANTIATE_TEST_SUITE_P(
    Shutters, TimeSampler,
    ::testing::Values(TimeCase{"quarter", true, contrast(0.25f), 0, 1, 0, 0, 4},
                      TimeCase{"third_truncates", true, contrast(0.3f), 0.5f, 1, 0, 0, 3},
                      TimeCase{"tenth_despite_rounding", true, contrast(0.1f), 0, 1, 0, 0, 10},
                      TimeCase{"hundredth", true, contrast(0.01f), 0, 1, 0, 0, 100},
                      TimeCase{"finer_than_hundredth", true, contrast(0.004f), 0, 1, 0, 0, 100},
                      TimeCase{"one", true, {1.0f, 1.0f, 1.0f, 0.0f}, 0, 1, 0, 0, 1},
                      TimeCase{"zero", true, contrast(0.0f), 0, 1, 0, 0, 1},
                      TimeCase{"least_channel_blue", true, {0.9f, 0.5f, 0.25f, 0.01f}, 0, 1, 0, 0, 4},
                      TimeCase{"closed_shutter", true, contrast(0.25f), 1, 1, 0, 0, 1},
                      TimeCase{"disabled", false, contrast(0.25f), 0, 1, 0, 0, 1},
                      TimeCase{"gathering", true, contrast(0.25f), 0, 1, 1, 0, 1},
                      TimeCase{"gather_unknown", true, contrast(0.25f), 0, 1, -1, 0, 4},
                      TimeCase{"renderer_samples_motion", true, contrast(0.25f), 0, 1, 0, 1, 1},
                      TimeCase{"moving_unknown", true, contrast(0.25f), 0, 1, 0, -1, 1}),
    [](const auto& test) { return std::string(test.param.what); });

// --- camera

TEST(CameraOrigin, IsTheInstancesTranslationOverW) {
    ScriptedRenderer renderer;
    auto& matrix = renderer.database.element<miInstance>(renderer.state.camera_inst).tf.local_to_global;
    const float translation[] = {2.0f, -4.0f, 6.0f};
    std::copy(translation, translation + 3, matrix + 12);
    for (const auto& [w, x] : {std::pair{1.0f, 2.0f}, std::pair{2.0f, 1.0f}, std::pair{0.0f, 2.0f}}) {
        matrix[15] = w;
        miVector origin;
        origin_from_camera(&renderer.state, &origin);
        EXPECT_EQ(origin.x, x);
        EXPECT_EQ(origin.y, -2.0f * x);
        EXPECT_EQ(origin.z, 3.0f * x);
    }
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

// --- user data

class UserDataChain : public ::testing::Test {
protected:
    static constexpr int magic = VELA_MAGIC;
    static constexpr miUint reversed = 0x616C6556;
    ScriptedRenderer renderer;
    ScriptedDatabase& database = renderer.database;
    unsigned found = 0;
    int swapped = -1;

    void* search(int elementType, miTag tag, bool acceptSwapped = true) {
        found = 0;
        swapped = -1;
        return get_userdata(magic, elementType, tag, &found, acceptSwapped ? &swapped : nullptr);
    }
    /// The search found `tag` and holds that one pin.
    void expectFound(void* block, miTag tag) {
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(found, tag);
        EXPECT_EQ(block, database.element<miUserdata>(tag).parameters());
        EXPECT_EQ(database.pinsHeld(tag), 1);
        EXPECT_EQ(renderer.pinsHeld(), 1);
        mi_db_unpin(tag);
    }
};

TEST_F(UserDataChain, IsWalkedToTheFirstBlockWithTheMagic) {
    const miTag later = database.addUserData({miUint{magic}, 2});
    const miTag wanted = database.addUserData({miUint{magic}, 1}, later);
    const miTag head = database.addUserData({5}, database.addUserData({}, wanted));
    expectFound(search(miSCENE_USERDATA, head), wanted);
    EXPECT_EQ(swapped, 0);
    expectFound(search(miSCENE_USERDATA, head, false), wanted);

    EXPECT_EQ(search(miSCENE_USERDATA, database.addUserData({5})), nullptr);
    EXPECT_EQ(search(miSCENE_USERDATA, miNULLTAG), nullptr);
    EXPECT_EQ(search(miSCENE_USERDATA, database.addUserData({5}, database.addString("no user data"))),
              nullptr);
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

TEST_F(UserDataChain, AcceptsTheOtherByteOrderOnlyWhenAskedTo) {
    const miTag plain = database.addUserData({miUint{magic}});
    const miTag other = database.addUserData({reversed}, plain);
    expectFound(search(miSCENE_USERDATA, other), other);
    EXPECT_EQ(swapped, 1);
    expectFound(search(miSCENE_USERDATA, other, false), plain);
}

TEST_F(UserDataChain, HoldsBlocksOfSeveralKindsOnAnObject) {
    const miTag second = database.addUserData({miUint{magic}, 2});
    const miTag first = database.addUserData({miUint{magic}, 1}, database.addUserData({5, 2}, second));
    const miTag object =
        database.addObject(database.addUserData({miUint{magic}}, first)); // too short for a kind
    const miTag instance = database.addInstance(object);
    expectFound(velaObjectData(instance, 1, &found), first);
    expectFound(velaObjectData(instance, 2, &found), second);
    expectFound(velaObjectData(object, 2, &found), second);
    EXPECT_EQ(velaObjectData(instance, 3, &found), nullptr);
    EXPECT_EQ(velaObjectData(database.addInstance(database.addObject(miNULLTAG)), 2, &found), nullptr);
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

TEST_F(UserDataChain, StartsAtAnObjectOrAtTheObjectAnInstancePlaces) {
    const miTag wanted = database.addUserData({miUint{magic}});
    const miTag object = database.addObject(wanted);
    expectFound(search(miSCENE_OBJECT, object), wanted);
    expectFound(search(miSCENE_OBJECT, database.addInstance(object)), wanted);

    const miTag light = database.add(miSCENE_LIGHT, miLight{});
    EXPECT_EQ(search(miSCENE_OBJECT, database.addInstance(light, wanted)), nullptr);
    EXPECT_EQ(search(miSCENE_LIGHT, light), nullptr);
    EXPECT_EQ(search(miSCENE_LIGHT, object), nullptr);
    EXPECT_EQ(search(miSCENE_OBJECT, miNULLTAG), nullptr);
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

} // namespace

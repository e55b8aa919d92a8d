// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaLightProtocol.h"
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "pass_scene.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using namespace std::string_view_literals;

TEST(PassMask, HasFourPassesADigitLowestBitFirst) {
    // Characters that are no digits follow the same sums: 'G' and '@' are 16, '/' is -1. Beyond ASCII by the
    // platform's char: 180 where it is signed, else 141.
    const std::pair<const char*, std::string> cases[] = {{"1", "1000"},
                                                         {"8", "0001"},
                                                         {"7", "1110"},
                                                         {"F0", "11110000"},
                                                         {"0a", "00000101"},
                                                         {"0A", "00000101"},
                                                         {"000f", "0000000000001111"},
                                                         {"G", "0000"},
                                                         {"@", "0000"},
                                                         {"/", "1111"},
                                                         {"\xE4", std::is_signed_v<char> ? "0010" : "1011"}};
    for (const auto& [mask, admitted] : cases)
        for (std::size_t pass = 0; pass < admitted.size(); ++pass)
            EXPECT_EQ(contributesToPass(static_cast<int>(pass), mask), admitted[pass] == '1')
                << mask << ' ' << pass;
    EXPECT_TRUE(contributesToPass(17, nullptr));
}

TEST(PassMask, HasNoPassesBehindItsEnd) {
    ScriptedRenderer renderer;
    const PassMask mask(renderer.database.addMaskedInstance("1\0ff"sv)); // what happens to lie there
    EXPECT_TRUE(mask.admits(0));
    for (const unsigned pass : {1u, 4u, 8u, 15u, 4000000u, static_cast<unsigned>(-1)})
        EXPECT_FALSE(mask.admits(pass)) << pass;
}

TEST(PassMask, OfALightSaysWhichRecordsItFeeds) {
    const std::vector<ScenePass> passes(5, {PASS_DIFFUSE, "diffuse"});
    const auto count = static_cast<unsigned>(passes.size());
    PassScene scene(passes);
    scene.begin();
    ScriptedRenderer& renderer = scene.renderer;
    miState& state = renderer.state;
    FrameBufferInfo* const records = scene.records();
    ScriptedDatabase& database = renderer.database;
    constexpr unsigned all = 31, unknown = 9999;
    const miTag bystander = database.add(miSCENE_OBJECT, std::array<char, 4>{'0'});
    const std::pair<miTag, unsigned> cases[] = {
        {database.addMaskedInstance("50"), 5},
        {database.addMaskedInstance("0f"), 16},
        {database.addMaskedInstance("\0f"sv), all},
        {database.addInstance(), all},
        {database.addInstance(0, database.addUserData({0})), all},
        {database.addInstance(0, database.addUserData({unknown})), all},      // a string nobody knows
        {database.addInstance(0, database.addUserData({bystander, 4})), all}, // a number, anything's tag
        {database.addInstance(0, database.addUserData({0x3F800000u})), all},
        {database.addInstance(0, database.addUserData({})), all},
        {database.addInstance(0, unknown), all}, // user data that the renderer does not know
        {unknown, all},                          // nor the instance
        {miNULLTAG, all},                        // no light: an error, and all stays as it is
    };
    for (const auto& [instance, contributes] : cases) {
        records[0].flags |= FB_LIGHT_SETUP_PENDING;
        state.light_instance = instance;
        setupLightContributions(count, records, &state);
        for (unsigned i = 0; i < count; ++i)
            EXPECT_EQ((records[i].flags & FB_LIGHT_CONTRIBUTES) != 0, contributes >> i & 1u) << instance;
        EXPECT_EQ((records[0].flags & FB_LIGHT_SETUP_PENDING) != 0, instance == miNULLTAG);
    }
    EXPECT_EQ(renderer.log, (std::vector<ScriptedMessage>{
                                {'e', "setupLightContributions was called outside of a light shader."}}));

    state.light_instance = cases[0].first;
    for (const int failing : {2, 3}) { // the query behind the instance, the access of the string
        int calls = 0;
        renderer.onCall = [&](const char*) {
            if (++calls == failing) throw std::runtime_error("foreign");
        };
        EXPECT_THROW(setupLightContributions(count, records, &state), std::runtime_error);
    }
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>
#include <utility>

namespace {

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

TEST(PassMask, HasNoPassesBehindItsEndAndIsNotReadFromUserDataOfAnotherKind) {
    using namespace std::string_view_literals;
    ScriptedRenderer renderer;
    ScriptedDatabase& database = renderer.database;
    const PassMask mask(database.addMaskedInstance("1\0ff"sv)); // what happens to lie behind it
    EXPECT_TRUE(mask.admits(0));
    for (const unsigned pass : {1u, 4u, 8u, 15u, 4000000u, static_cast<unsigned>(-1)})
        EXPECT_FALSE(mask.admits(pass)) << pass;
    // A number in a scene file may be anything's tag.
    const miTag bystander = database.add(miSCENE_OBJECT, std::array<char, 4>{'0'});
    for (const miTag instance :
         {database.addMaskedInstance("\0f"sv), database.addInstance(0, database.addUserData({bystander, 4})),
          database.addInstance(0, database.addUserData({0x3F800000u})),
          database.addInstance(0, database.addUserData({}))}) {
        const PassMask all(instance);
        EXPECT_TRUE(all.admits(0) && all.admits(4000000u));
    }
}

} // namespace

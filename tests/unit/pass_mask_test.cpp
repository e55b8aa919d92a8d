// SPDX-License-Identifier: Apache-2.0
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

namespace {

TEST(PassMask, HasFourPassesADigitLowestBitFirst) {
    // Characters that are no digits follow the same sums: 'G' is 16, '@' is 16. Beyond ASCII by the
    // platform's char: 180 where it is signed, else 141.
    constexpr bool unsignedChars = !std::is_signed_v<char>;
    const struct {
        const char* mask;
        int pass;
        bool contributes;
    } cases[] = {{nullptr, 17, true},
                 {"1", 0, true},
                 {"1", 1, false},
                 {"8", 3, true},
                 {"7", 3, false},
                 {"F0", 3, true},
                 {"F0", 4, false},
                 {"0a", 5, true},
                 {"0A", 7, true},
                 {"0A", 6, false},
                 {"000f", 15, true},
                 {"G", 0, false},
                 {"@", 3, false},
                 {"/", 3, true},
                 {"\xE4", 0, unsignedChars},
                 {"\xE4", 2, true},
                 {"\xE4", 3, unsignedChars}};
    for (const auto& c : cases)
        EXPECT_EQ(contributesToPass(c.pass, c.mask), c.contributes)
            << (c.mask ? c.mask : "none") << ' ' << c.pass;
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

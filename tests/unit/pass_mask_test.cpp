// SPDX-License-Identifier: Apache-2.0
#include "orcaPassMask.h"
#include "orcaRenderPassUtilities.h"
#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

namespace {

struct MaskCase {
    const char* mask;
    int pass;
    bool contributes;
};

class PassMaskDigits : public ::testing::TestWithParam<MaskCase> {};

TEST_P(PassMaskDigits, CoverFourPassesEachLowestBitFirst) {
    EXPECT_EQ(contributesToPass(GetParam().pass, GetParam().mask), GetParam().contributes);
}

INSTANTIATE_TEST_SUITE_P(
    Masks, PassMaskDigits,
    ::testing::Values(MaskCase{nullptr, 17, true}, MaskCase{"1", 0, true}, MaskCase{"1", 1, false},
                      MaskCase{"8", 3, true}, MaskCase{"7", 3, false}, MaskCase{"F0", 3, true},
                      MaskCase{"F0", 4, false}, MaskCase{"0a", 5, true}, MaskCase{"0A", 7, true},
                      MaskCase{"0A", 6, false}, MaskCase{"000f", 15, true},
                      // Characters that are no digits follow the same sums: 'G' is 16, '@' is 16.
                      MaskCase{"G", 0, false}, MaskCase{"@", 3, false}, MaskCase{"/", 3, true},
                      // Beyond ASCII by the platform's char: 180 where it is signed, else 141.
                      MaskCase{"\xE4", 0, !std::is_signed_v<char>}, MaskCase{"\xE4", 2, true},
                      MaskCase{"\xE4", 3, !std::is_signed_v<char>}));

TEST(PassMask, HasNoPassesBehindItsEnd) {
    using namespace std::string_view_literals;
    ScriptedRenderer renderer;
    const PassMask mask(renderer.database.addMaskedInstance("1\0ff"sv)); // what happens to lie behind it
    EXPECT_TRUE(mask.admits(0));
    for (const unsigned pass : {1u, 4u, 8u, 15u, 4000000u, static_cast<unsigned>(-1)})
        EXPECT_FALSE(mask.admits(pass)) << pass;
    const PassMask none(renderer.database.addMaskedInstance("\0f"sv));
    EXPECT_TRUE(none.admits(4000000u));
}

TEST(PassMask, IsNotReadFromUserDataOfAnotherKind) {
    ScriptedRenderer renderer;
    ScriptedDatabase& database = renderer.database;
    // A number in a scene file may be anything's tag.
    const miTag bystander = database.add(miSCENE_OBJECT, std::array<char, 4>{'0'});
    for (const miTag data : {database.addUserData({bystander, 4}), database.addUserData({0x3F800000u}),
                             database.addUserData({})}) {
        const PassMask mask(database.addInstance(miNULLTAG, data));
        EXPECT_TRUE(mask.admits(0) && mask.admits(4000000u));
    }
    EXPECT_EQ(renderer.pinsHeld(), 0);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"
#include "orcaPassMask.h"
#include "scripted_renderer.h"

#include <limits>
#include <string>
#include <vector>

using namespace orca;

/// The user data of an instance: a byte that tells whether it is a mask, then its text or other words.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    ScriptedRenderer renderer;
    miTag userdata = miNULLTAG;
    if (input.take<std::uint8_t>() % 2 == 0) {
        userdata = renderer.database.addUserData({renderer.database.addString(std::string(input.rest()))});
    } else {
        std::vector<miUint> words(input.rest().size() / sizeof(miUint));
        for (miUint& word : words) word = input.take<miUint>();
        userdata = renderer.database.addUserData(words);
    }
    {
        const PassMask mask(renderer.database.addInstance(miNULLTAG, userdata));
        for (unsigned bit = 0; bit < 512; ++bit) fuzz::require(mask || mask.admits(bit));
        static_cast<void>(mask.admits(std::numeric_limits<int>::max()));
        static_cast<void>(mask.admits(std::numeric_limits<unsigned>::max()));
    }
    fuzz::require(renderer.pinsHeld() == 0);
    return 0;
}

// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"

#include "image/light_profile.h"

#include <utility>

using namespace orca;
using image::LightProfile;

namespace {

template <class Read>
void lookUp(const Read& read, const std::string& text) {
    try {
        const LightProfile profile(read(text));
        for (const miVector& direction : {miVector{0, 0, -1}, miVector{1, -2, 3}, miVector{0, 0, 0}})
            for (const auto between : {LightProfile::Between::Nearest, LightProfile::Between::Linear,
                                       LightProfile::Between::Cubic})
                static_cast<void>(profile.toward(direction, between));
    } catch (const image::LightProfileError&) { // is what a damaged file ends with
    }
}

} // namespace

/// A light profile, as both formats and as a file of a lamp's tilt.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    lookUp(image::readIes, text);
    lookUp(image::readEulumdat, text);
    try {
        image::checkIesTilt(text);
    } catch (const image::LightProfileError&) {
    }
    return 0;
}

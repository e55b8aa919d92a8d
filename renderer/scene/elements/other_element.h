// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <string>

namespace orca::scene {

/// A name that references resolve to and nothing reads: spectra, maps, colour profiles.
struct OtherElement final : Element {
    OtherElement() : Element(miSCENE_OTHER) {}
    std::string kind;
};

} // namespace orca::scene

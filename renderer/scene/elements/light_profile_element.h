// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <string>

namespace orca::scene {

/// `lightprofile`: measured intensity by direction.
struct LightProfileElement final : Element {
    LightProfileElement() : Element(miSCENE_LIGHTPROFILE) {}
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(LightProfileElement); }

    enum class Format { Ies, Eulumdat };
    Format format = Format::Ies;
    std::string file;           ///< registry and environment references replaced
    std::string sceneDirectory; ///< where a relative file is looked for first
    int flags = 0;              ///< 1, 2: clockwise, counter-clockwise samples
    int hermite = 1;            ///< 1 linear, 3 cubic
};

} // namespace orca::scene

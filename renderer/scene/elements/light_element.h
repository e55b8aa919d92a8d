// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

namespace orca::scene {

struct LightElement final : Element {
    static constexpr miScene_type elementType = miSCENE_LIGHT;
    LightElement();
    void* record() override { return &light; }
    [[nodiscard]] int recordSize() const override { return sizeof(light); }
    void visitReferences(const std::function<void(miTag)>& visit) const override { eachTag(*this, visit); }
    template <class Self, class Visit>
    static void eachTag(Self& self, const Visit& visit) {
        auto& l = self.light;
        for (auto* tag : {&l.shader, &l.emitter, &l.lightprofile, &l.userdata, &self.areaObject}) visit(*tag);
    }

    miLight light{};
    bool hasOrigin = false, hasDirection = false, hasSpread = false;
    miTag areaObject = miNULLTAG; ///< instance that is the emitter of an object light
};

} // namespace orca::scene
